#include "services/BatchDownload.h"

#include <future>

#include "platform/Localization.h"
#include "services/DataURL.h"
#include "services/FileWriter.h"

namespace quillory {

namespace {

std::optional<std::vector<StringObject>> readFiles(const Value& body)
{
    if (body.kind() != Value::Kind::object)
        return std::nullopt;
    const auto list = body.at("files");
    if (list->kind() != Value::Kind::array)
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

// Decodes the files one after the other, and writes each on a thread of its own while the next is decoded.
class BatchWriter {
public:
    BatchWriter(Platform& platform, const std::filesystem::path& folder)
        : m_platform(platform)
        , m_folder(folder)
    {
    }

    void save(const StringObject& file)
    {
        const auto filename = textForKey(file, "filename");
        const auto data = textForKey(file, "data");
        if (!filename || !data)
            return;
        // A large file is not held while another is made.
        if (m_bytes && m_bytes->span().size() > largestHeld)
            finish();
        auto bytes = decodeDataURLPayload(*data);
        if (!bytes)
            return;
        finish();
        m_name = filename->utf8();
        m_bytes = std::move(bytes);
        // Where no thread is to be had, the file is written when it is waited for.
        m_error = std::async(writeFileInFolder, m_folder, m_name, m_bytes->span());
    }

    // Waits until all files are written; returns how many are on disk now.
    std::size_t finish()
    {
        if (!m_bytes)
            return m_saved;
        if (const auto error = m_error.get())
            m_platform.log().print("❌ Error saving " + m_name + ": " + *error);
        else
            ++m_saved;
        m_bytes.reset();
        return m_saved;
    }

private:
    static constexpr std::size_t largestHeld = 4 << 20;

    Platform& m_platform;
    const std::filesystem::path& m_folder;
    std::size_t m_saved = 0;
    // The file that is being written. The future goes first, which waits for the thread that reads the bytes.
    std::string m_name;
    std::unique_ptr<const Bytes> m_bytes;
    std::future<std::optional<std::string>> m_error;
};

void saveFiles(Platform& platform, const std::filesystem::path& folder, const std::vector<StringObject>& files)
{
    BatchWriter writer(platform, folder);
    for (const auto& file : files)
        writer.save(file);
    const auto saved = writer.finish();
    platform.log().print("✅ Saved " + std::to_string(saved) + "/" + std::to_string(files.size())
                         + " files to: " + folder.string());
}

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
    panel->beginWithCompletionHandler([&platform, files = std::move(files)](ModalResponse response, const auto& url) {
        if (response == ModalResponse::ok && url)
            saveFiles(platform, *url, files);
    });
}

}
