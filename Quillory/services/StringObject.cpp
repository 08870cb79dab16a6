#include "services/StringObject.h"

namespace quillory {

namespace {

constexpr std::size_t mostKeys = 100'000;

}

std::optional<StringObject> readStringObject(const Value& value)
{
    if (value.kind() != Value::Kind::object)
        return std::nullopt;
    auto keys = value.keys();
    if (keys.size() > mostKeys)
        return std::nullopt;
    StringObject object;
    for (auto& key : keys) {
        auto text = value.at(key)->text();
        if (!text)
            return std::nullopt;
        object.emplace(std::move(key), std::move(text));
    }
    return object;
}

TextHandle textForKey(const StringObject& object, const std::string& key)
{
    const auto entry = object.find(key);
    return entry == object.end() ? nullptr : entry->second;
}

}
