#include "services/LoadedPage.h"

#include <algorithm>
#include <random>

namespace quillory {

namespace {

// 128 bits of the system's own.
std::string randomHandle()
{
    constexpr char digits[] = "0123456789abcdef";
    std::random_device device;
    std::uniform_int_distribution<std::size_t> digit(0, 15);
    std::string handle;
    for (int i = 0; i < 32; ++i)
        handle += digits[digit(device)];
    return handle;
}

}

std::string LoadedPage::handleFor(const std::filesystem::path& file)
{
    const auto known = std::ranges::find(m_files, file, [](const auto& entry) { return entry.second; });
    return known != m_files.end() ? known->first : m_files.emplace(randomHandle(), file).first->first;
}

std::optional<std::filesystem::path> LoadedPage::fileWithHandle(const std::string& handle) const
{
    const auto entry = m_files.find(handle);
    return entry == m_files.end() ? std::nullopt : std::optional(entry->second);
}

}
