#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "services/Page.h"

namespace quillory {

// What the shell keeps for one loaded page: the files that it may write again, each under a random handle.
// It ends with the page: after a reload there is another one, which knows none of the handles. Main thread only.
class LoadedPage {
public:
    explicit LoadedPage(std::weak_ptr<Page> receiver)
        : page(std::move(receiver))
    {
    }

    // For a file that the user chose in a panel. A file keeps its handle.
    std::string handleFor(const std::filesystem::path& file);
    // None for a handle that this page was not given.
    std::optional<std::filesystem::path> fileWithHandle(const std::string& handle) const;

    const std::weak_ptr<Page> page;

private:
    std::map<std::string, std::filesystem::path> m_files;
};

}
