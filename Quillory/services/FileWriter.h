#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace quillory {

// Both write a whole file in place: it is created, or its content replaced while its links, owner and
// permissions stay. The space is reserved before the first old byte goes, so a full disk leaves the old
// content whole; an interrupted write leaves a beginning of the new one. They return none, or what went
// wrong in words. They block until the file is written.

std::optional<std::string> writeFile(const std::filesystem::path& path, std::span<const std::byte> bytes);

// The file is `name` in `folder`. A name that would lead out of the folder, by "..", by a leading slash
// or through a symbolic link, is refused, and so is one that holds a NUL character.
std::optional<std::string> writeFileInFolder(const std::filesystem::path& folder, const std::string& name,
                                             std::span<const std::byte> bytes);

}
