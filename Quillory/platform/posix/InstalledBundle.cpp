#include "platform/posix/InstalledBundle.h"

#include <fstream>
#include <nlohmann/json.hpp>

namespace quillory::posix {

namespace fs = std::filesystem;

InstalledBundle::InstalledBundle(const fs::path& executable)
    : m_resources(executable.parent_path().parent_path() / "share" / "quillory")
{
}

InstalledBundle InstalledBundle::ofThisProcess()
{
    std::error_code error;
    return InstalledBundle(fs::read_symlink("/proc/self/exe", error));
}

std::optional<fs::path> InstalledBundle::resourceURL() const
{
    std::error_code error;
    if (!fs::is_directory(m_resources, error))
        return std::nullopt;
    return m_resources;
}

std::optional<std::string> InstalledBundle::infoString(const std::string& key) const
{
    std::ifstream file(m_resources / "Info.json");
    const auto info = nlohmann::json::parse(file, nullptr, false);
    if (!info.contains(key) || !info[key].is_string())
        return std::nullopt;
    return info[key].get<std::string>();
}

}
