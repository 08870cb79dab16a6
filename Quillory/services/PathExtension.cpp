#include "services/PathExtension.h"

#include <algorithm>

namespace quillory {

std::string pathExtension(std::string_view filename)
{
    const auto name = filename.substr(filename.rfind('/') + 1); // the whole name if there is no separator
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos)
        return {};
    std::string extension(name.substr(dot + 1));
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return extension;
}

const ContentType* typeByExtension(std::span<const ContentType> types, std::string_view filename)
{
    const auto extension = pathExtension(filename);
    for (const auto& type : types)
        if (std::ranges::find(type.suffixes, extension) != type.suffixes.end())
            return &type;
    return nullptr;
}

}
