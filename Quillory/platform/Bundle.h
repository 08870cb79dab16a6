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
    // A value of the information dictionary, if it is there and is a string.
    virtual std::optional<std::string> infoString(const std::string& key) const = 0;

    std::optional<std::string> bundleIdentifier() const { return infoString("CFBundleIdentifier"); }
    // "2.1 (37)": the marketing version and the build number, or none unless both are there.
    std::optional<std::string> version() const
    {
        const auto marketingVersion = infoString("CFBundleShortVersionString");
        const auto build = infoString("CFBundleVersion");
        return marketingVersion && build ? std::optional(*marketingVersion + " (" + *build + ")") : std::nullopt;
    }
};

}
