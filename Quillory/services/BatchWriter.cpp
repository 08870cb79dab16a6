#include "services/BatchWriter.h"

#include <system_error>
#include <utility>

namespace quillory {

namespace {

constexpr std::size_t mostWaiting = 2 << 20; // bytes

}

BatchWriter::BatchWriter(std::filesystem::path folder, Write write)
    : m_folder(std::move(folder))
    , m_write(std::move(write))
{
    try {
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        return;
    }
}

BatchWriter::~BatchWriter()
{
    if (!m_thread.joinable())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_closing = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void BatchWriter::makeRoom()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_waitingBytes < mostWaiting; });
}

void BatchWriter::finish()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_waiting.empty(); });
}

void BatchWriter::add(std::string name, std::unique_ptr<const Bytes> bytes)
{
    const auto span = bytes->span();
    File file {{std::move(name), std::nullopt}, std::move(bytes), span};
    if (!m_thread.joinable()) {
        write(file);
        m_written.push_back(std::move(file));
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_waitingBytes += span.size();
        m_waiting.push_back(std::move(file));
    }
    m_changed.notify_all();
}

std::vector<BatchWriter::Result> BatchWriter::takeResults()
{
    std::vector<File> written;
    {
        const std::lock_guard lock(m_mutex);
        written.swap(m_written);
    }
    std::vector<Result> results;
    results.reserve(written.size());
    for (auto& file : written)
        results.push_back(std::move(file.result));
    return results;
}

void BatchWriter::run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_closing || !m_waiting.empty(); });
        if (m_waiting.empty())
            return;
        // Adding to the end of a deque moves none of its elements.
        auto& file = m_waiting.front();
        lock.unlock();
        write(file);
        lock.lock();
        m_waitingBytes -= file.span.size();
        m_written.push_back(std::move(file));
        m_waiting.pop_front();
        m_changed.notify_all();
    }
}

void BatchWriter::write(File& file) const
{
    file.result.error = m_write(m_folder, file.result.name, file.span);
}

}
