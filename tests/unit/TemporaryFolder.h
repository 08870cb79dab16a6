#pragma once

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace quillory {

// A folder of a test's own, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "quillory-test-XXXXXX").string();
        m_path = mkdtemp(name.data());
    }
    TemporaryFolder(TemporaryFolder&&) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }

    const std::filesystem::path& path() const { return m_path; }

    std::filesystem::path write(const std::string& name, const std::string& content) const
    {
        std::ofstream(m_path / name, std::ios::binary) << content;
        return m_path / name;
    }

    std::string read(const std::string& name) const
    {
        std::ifstream file(m_path / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::filesystem::path makePipe(const std::string& name) const
    {
        mkfifo((m_path / name).c_str(), 0600);
        return m_path / name;
    }

private:
    std::filesystem::path m_path;
};

}
