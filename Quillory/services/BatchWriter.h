#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "platform/Text.h"
#include "services/FileWriter.h"

namespace quillory {

// Writes files into a folder, one after the other, on a thread of its own while its caller makes the next one.
// Holds no more than a few MiB that are not written yet, and one file. Main thread only.
class BatchWriter {
public:
    struct Result {
        std::string name;
        std::optional<std::string> error; // none once the file is written
    };

    // As writeFileInFolder, which it is unless a test has its own.
    using Write = std::function<std::optional<std::string>(const std::filesystem::path& folder, const std::string& name,
                                                           std::span<const std::byte> bytes)>;

    // Where no thread is to be had, each file is written when it is added.
    explicit BatchWriter(std::filesystem::path folder, Write write = writeFileInFolder);
    // Waits until all is written.
    ~BatchWriter();
    BatchWriter(const BatchWriter&) = delete;
    BatchWriter& operator=(const BatchWriter&) = delete;

    // Waits until there is room for one more file. To be called before that is made.
    void makeRoom();
    void add(std::string name, std::unique_ptr<const Bytes> bytes);
    // Waits until all is written.
    void finish();

    // What became of the files that have been written since the last call, in their order. Frees their bytes.
    std::vector<Result> takeResults();

private:
    struct File {
        Result result;
        std::unique_ptr<const Bytes> bytes;
        // Of the bytes, which only the main thread may ask.
        std::span<const std::byte> span;
    };

    void run();
    void write(File& file) const;

    const std::filesystem::path m_folder;
    const Write m_write;
    std::thread m_thread;

    std::mutex m_mutex; // guards all below
    std::condition_variable m_changed;
    std::deque<File> m_waiting; // the first one is being written
    std::vector<File> m_written;
    std::size_t m_waitingBytes = 0;
    bool m_closing = false;
};

}
