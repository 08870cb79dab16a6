// Messages: bodies of any shape under any name lead to the lines that their shape calls for, and to a panel
// only where they are accepted.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "fake/FakePlatform.h"
#include "fake/PlainValue.h"
#include "web/Coordinator.h"

namespace {

using namespace quillory;
using nlohmann::json;

// A tree of the input's bytes. When they are used up all that follows is null.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size)
        : m_rest(reinterpret_cast<const char*>(data), size)
    {
    }

    unsigned number()
    {
        if (m_rest.empty())
            return 0;
        const auto byte = static_cast<unsigned char>(m_rest.front());
        m_rest.remove_prefix(1);
        return byte;
    }

    std::string text()
    {
        const auto length = std::min<std::size_t>(number(), m_rest.size());
        std::string text(m_rest.substr(0, length));
        m_rest.remove_prefix(length);
        return text;
    }

    std::string key()
    {
        constexpr const char* known[] = {"filename", "data", "files"};
        const auto choice = number() % 4;
        return choice < 3 ? known[choice] : text();
    }

    json value(int depth = 0)
    {
        const auto kind = number() % (depth < 5 ? 7 : 4);
        json value;
        if (kind == 1)
            value = true;
        else if (kind == 2)
            value = number();
        else if (kind == 3)
            value = text();
        else if (kind > 3)
            value = kind == 4 ? json::array() : json::object();
        for (auto count = kind > 3 ? number() % 8 : 0; count > 0; --count) {
            if (kind == 4) {
                value.push_back(this->value(depth + 1));
            } else {
                const auto name = key();
                value[name] = this->value(depth + 1);
            }
        }
        return value;
    }

private:
    std::string_view m_rest;
};

bool holdsTextsOnly(const json& value)
{
    return value.is_object() && std::ranges::all_of(value, [](const auto& entry) { return entry.is_string(); });
}

bool isCopy(const json& body)
{
    return holdsTextsOnly(body) && body.contains("data");
}

bool isDownload(const json& body)
{
    return isCopy(body) && body.contains("filename");
}

bool isBatch(const json& body)
{
    return body.is_object() && body.contains("files") && body["files"].is_array()
        && std::ranges::all_of(body["files"], holdsTextsOnly);
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr const char* names[] = {"nativeDownload",    "nativeBatchDownload", "nativeCopy", "nativeFilePicker",
                                     "nativeImagePicker", "nativePaste",         "another"};
    Input input(data, size);
    const std::string name = names[input.number() % std::size(names)];
    const auto body = input.value();

    fake::FakePlatform platform;
    const auto coordinator = web::WebView::Coordinator::make(platform);
    const auto configuration = platform.makeWebViewConfiguration();
    coordinator->didReceiveScriptMessage(configuration->userContentController(),
                                         {name, std::make_shared<fake::PlainValue>(body)});
    platform.runMainQueue();

    const auto lines = platform.lines();
    const auto only = [&](std::string_view line) { return lines.size() == 1 && lines.front() == line; };
    const auto panels = platform.panels.size();
    if (name == "nativeDownload") {
        check(isDownload(body) != only("❌ Invalid download message"), "the wrong downloads are refused");
        const bool decodes = isDownload(body) && fake::PlainValue(body["data"]).text()->base64AfterFirstComma();
        check(panels == (decodes ? 1 : 0), "a panel for a download that cannot be saved, or none for one that can");
    } else if (name == "nativeBatchDownload") {
        check(isBatch(body) != only("❌ Invalid batch download message"), "the wrong batches are refused");
        check(panels == (isBatch(body) ? 1 : 0), "a panel for a batch that was refused, or none for another");
    } else if (name == "nativeCopy") {
        check(only(isCopy(body) ? "📋 Copied to native pasteboard" : "❌ Invalid copy message"),
              "the wrong copies are refused");
        check(!isCopy(body) || !platform.generalPasteboard().strings.empty(), "nothing was copied");
    } else if (name == "nativePaste") {
        check(lines.empty() && panels == 0, "an empty clipboard was pasted");
    } else if (name == "another") {
        check(only("❌ Unknown message: another") && panels == 0, "an unknown message was handled");
    } else {
        check(lines.size() == 1 && panels == 1, "a picker did not open its panel");
    }
    for (const auto& panel : platform.panels)
        panel.completion(ModalResponse::cancel, std::nullopt);
    check(platform.lines() == lines, "a cancelled panel left a line");
    return 0;
}
