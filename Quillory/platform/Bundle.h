#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace quillory {

// The installed program around the executable.
class Bundle {
public:
    virtual ~Bundle() = default;
    // The folder of the program's resources; none if it is not there.
    virtual std::optional<std::filesystem::path> resourceURL() const = 0;
    virtual std::optional<std::string> bundleIdentifier() const = 0;
    // A value of the information dictionary, if it is there and is a string.
    virtual std::optional<std::string> infoString(const std::string& key) const = 0;
};

}
