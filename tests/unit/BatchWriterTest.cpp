#include "services/BatchWriter.h"

#include <gmock/gmock.h>

#include <future>

#include "TemporaryFolder.h"

namespace quillory {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Pair;

// Bytes that belong to one thread, as the engine's do.
class ThreadBytes final : public Bytes {
public:
    explicit ThreadBytes(std::string bytes)
        : m_bytes(std::move(bytes))
    {
    }

    std::span<const std::byte> span() const override
    {
        EXPECT_EQ(std::this_thread::get_id(), m_maker);
        return std::as_bytes(std::span(m_bytes));
    }

private:
    std::string m_bytes;
    std::thread::id m_maker = std::this_thread::get_id();
};

class BatchWriterTest : public testing::Test {
protected:
    std::unique_ptr<const Bytes> bytes(std::string content)
    {
        return std::make_unique<ThreadBytes>(std::move(content));
    }

    // Whether that has to wait for the writer; it is over afterwards.
    bool waits(const std::function<void()>& work, std::chrono::milliseconds patience = 50ms)
    {
        const auto done = std::async(std::launch::async, work);
        const bool waiting = done.wait_for(patience) == std::future_status::timeout;
        m_open.set_value();
        return waiting;
    }

    TemporaryFolder m_folder;
    std::promise<void> m_open;
    std::shared_future<void> m_gate {m_open.get_future()};
    // Writes nothing before the gate is open.
    std::unique_ptr<BatchWriter> m_writer = std::make_unique<BatchWriter>(
        m_folder.path(), [gate = m_gate](const auto& folder, const auto& name, const auto bytes) {
            gate.wait();
            return writeFileInFolder(folder, name, bytes);
        });
};

// The sizes of files that wait, and whether one more has to wait for them.
using Room = std::pair<std::vector<std::size_t>, bool>;

class BatchWriterRoom : public BatchWriterTest, public testing::WithParamInterface<Room> { };

}

TEST_P(BatchWriterRoom, IsTwoMebibytes)
{
    const auto& [sizes, waiting] = GetParam();
    for (const auto size : sizes)
        m_writer->add("a", bytes(std::string(size, 'x')));
    EXPECT_EQ(waits([this] { m_writer->makeRoom(); }, waiting ? 50ms : 10s), waiting);
}

constexpr std::size_t mebibyte = 1 << 20;
INSTANTIATE_TEST_SUITE_P(Sizes, BatchWriterRoom,
                         testing::Values(Room {{}, false}, Room {{2 * mebibyte - 1}, false},
                                         Room {{2 * mebibyte}, true}, Room {{mebibyte, mebibyte}, true},
                                         Room {{mebibyte, 1}, false}));

TEST_F(BatchWriterTest, FinishesWhenAllIsWritten)
{
    std::filesystem::create_directory(m_folder.path() / "folder");
    m_writer->add("a", bytes("first"));
    m_writer->add("folder", bytes("nowhere"));
    m_writer->add("a", bytes("last"));
    EXPECT_TRUE(m_writer->takeResults().empty());
    EXPECT_TRUE(waits([this] { m_writer->finish(); }));
    std::vector<std::pair<std::string, std::string>> results;
    for (const auto& [name, error] : m_writer->takeResults())
        results.emplace_back(name, error.value_or("written"));
    EXPECT_THAT(results, ElementsAre(Pair("a", "written"), Pair("folder", "Is a directory"), Pair("a", "written")));
    EXPECT_EQ(m_folder.read("a"), "last");
    EXPECT_TRUE(m_writer->takeResults().empty());
}

TEST_F(BatchWriterTest, FinishesNoSoonerForAnEmptyFile)
{
    m_writer->add("empty", bytes(""));
    EXPECT_TRUE(waits([this] { m_writer->finish(); }));
    EXPECT_EQ(m_writer->takeResults().size(), 1);
}

TEST_F(BatchWriterTest, WritesAllBeforeItEnds)
{
    m_writer->add("a", bytes("content"));
    EXPECT_TRUE(waits([this] { m_writer.reset(); }));
    EXPECT_EQ(m_folder.read("a"), "content");
}

}
