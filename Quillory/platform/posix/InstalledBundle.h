#pragma once

#include "platform/Bundle.h"

namespace quillory::posix {

// The install prefix that an executable stands in: resources in ../share/quillory as seen from the
// executable, so that the tree can be moved, or run from the build folder.
class InstalledBundle final : public Bundle {
public:
    // `executable` is the program's own path, resolved.
    explicit InstalledBundle(const std::filesystem::path& executable);

    // The bundle that this process was started from.
    static InstalledBundle ofThisProcess();

    std::optional<std::filesystem::path> resourceURL() const override;
    // Reads Info.json anew each time. A file that is missing or broken has no keys.
    std::optional<std::string> infoString(const std::string& key) const override;

private:
    std::filesystem::path m_resources;
};

}
