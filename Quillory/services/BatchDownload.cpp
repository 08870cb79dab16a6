#include "services/BatchDownload.h"

#include <chrono>
#include <memory>
#include <utility>

#include "platform/Localization.h"
#include "services/DataURL.h"
#include "services/FileWriter.h"

namespace quillory {

namespace {

using namespace std::chrono_literals;

constexpr auto longestTurn = 50ms;
// Time for the window to be drawn and used before the next turn.
constexpr auto rest = 1ms;
constexpr std::size_t mostFiles = 100'000;

std::optional<std::vector<StringObject>> readFiles(const Value& body)
{
    if (body.kind() != Value::Kind::object)
        return std::nullopt;
    const auto list = body.at("files");
    if (list->kind() != Value::Kind::array || list->size() > mostFiles)
        return std::nullopt;
    std::vector<StringObject> files;
    for (std::size_t i = 0; i < list->size(); ++i) {
        auto file = readStringObject(*list->at(i));
        if (!file)
            return std::nullopt;
        files.push_back(std::move(*file));
    }
    return files;
}

// Writes the files of one batch in their order. It holds itself until the last one is written.
class Batch : public std::enable_shared_from_this<Batch> {
public:
    Batch(Platform& platform, std::filesystem::path folder, std::vector<StringObject> files)
        : m_platform(platform)
        , m_folder(std::move(folder))
        , m_files(std::move(files))
    {
    }

    // As many as a turn has time for.
    void write()
    {
        const auto end = std::chrono::steady_clock::now() + longestTurn;
        for (; m_next < m_files.size(); ++m_next) {
            if (std::chrono::steady_clock::now() >= end)
                return m_platform.mainQueue().asyncAfter(rest, [self = shared_from_this()] { self->write(); });
            writeFile(std::exchange(m_files[m_next], {}));
        }
        m_platform.log().print("✅ Saved " + std::to_string(m_saved) + "/" + std::to_string(m_files.size())
                               + " files to: " + m_folder.string());
    }

private:
    void writeFile(const StringObject& file)
    {
        const auto filename = textForKey(file, "filename");
        const auto data = textForKey(file, "data");
        const auto bytes = filename && data ? decodeDataURLPayload(*data) : nullptr;
        if (!bytes)
            return;
        const auto name = filename->utf8();
        if (const auto error = writeFileInFolder(m_folder, name, bytes->span()))
            m_platform.log().print("❌ Error saving " + name + ": " + *error);
        else
            ++m_saved;
    }

    Platform& m_platform;
    std::filesystem::path m_folder;
    std::vector<StringObject> m_files; // those that are written are empty
    std::size_t m_next = 0;
    std::size_t m_saved = 0;
};

}

void handleNativeBatchDownload(Platform& platform, const ScriptMessage& message)
{
    auto files = readFiles(*message.body);
    if (!files) {
        platform.log().print("❌ Invalid batch download message");
        return;
    }
    platform.log().print("📥 Batch download requested: " + std::to_string(files->size()) + " files");
    platform.mainQueue().async(
        [&platform, files = std::move(*files)]() mutable { chooseFolderAndSaveFiles(platform, std::move(files)); });
}

void chooseFolderAndSaveFiles(Platform& platform, std::vector<StringObject> files)
{
    const auto panel = platform.makeOpenPanel();
    panel->setCanChooseFiles(false);
    panel->setCanChooseDirectories(true);
    panel->setAllowsMultipleSelection(false);
    panel->setCanCreateDirectories(true);
    panel->setMessage(localized("Choose a folder to save {} files", std::to_string(files.size())));
    panel->setPrompt(localized("Save Here"));
    panel->beginWithCompletionHandler([&platform, files = std::move(files)](auto response, const auto& url) mutable {
        if (response == ModalResponse::ok && url)
            std::make_shared<Batch>(platform, *url, std::move(files))->write();
    });
}

}
