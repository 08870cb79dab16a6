// Runs a fuzz target on files instead of under the fuzzer: TARGET FILE_OR_FOLDER…
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

int replayed = 0;

void replay(const std::filesystem::path& path)
{
    if (std::filesystem::is_directory(path)) {
        for (const auto& entry : std::filesystem::directory_iterator(path))
            replay(entry.path());
        return;
    }
    std::ifstream file(path, std::ios::binary);
    const std::string input {std::istreambuf_iterator<char>(file), {}};
    std::fprintf(stderr, "%s\n", path.c_str());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    ++replayed;
}

}

int main(int count, char** arguments)
{
    for (int i = 1; i < count; ++i)
        replay(arguments[i]);
    std::fprintf(stderr, "%d inputs replayed\n", replayed);
    return replayed > 0 ? 0 : 1;
}
