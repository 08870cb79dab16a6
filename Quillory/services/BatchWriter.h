#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/Text.h"

namespace quillory {

// Writes files into a folder, one after the other, on a thread of its own while its caller makes the next one.
// Holds no more than a few MiB that are not written yet, and one file. Main thread only.
class BatchWriter {
public:
    struct Result {
        std::string name;
        std::optional<std::string> error; // none once the file is written
    };

    // Where no thread is to be had, each file is written when it is added.
    explicit BatchWriter(std::filesystem::path folder);
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
    };

    void run();
    void write(File& file) const;

    const std::filesystem::path m_folder;
    std::thread m_thread;

    std::mutex m_mutex; // guards all below
    std::condition_variable m_changed;
    std::deque<File> m_waiting; // the first one is being written
    std::vector<File> m_written;
    std::size_t m_waitingBytes = 0;
    bool m_closing = false;
};

}
