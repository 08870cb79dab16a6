#include "services/BatchDownload.h"

#include "platform/Localization.h"
#include "services/BatchWriter.h"
#include "services/DataURL.h"

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

// How many of the files that the writer is done with are on disk.
std::size_t countSaved(Log& log, BatchWriter& writer)
{
    std::size_t saved = 0;
    for (const auto& [name, error] : writer.takeResults()) {
        if (error)
            log.print("❌ Error saving " + name + ": " + *error);
        else
            ++saved;
    }
    return saved;
}

std::size_t saveFiles(Log& log, const std::filesystem::path& folder, const std::vector<StringObject>& files)
{
    BatchWriter writer(folder);
    std::size_t saved = 0;
    for (const auto& file : files) {
        const auto filename = textForKey(file, "filename");
        const auto data = textForKey(file, "data");
        if (!filename || !data)
            continue;
        writer.makeRoom();
        saved += countSaved(log, writer);
        if (auto bytes = decodeDataURLPayload(*data))
            writer.add(filename->utf8(), std::move(bytes));
    }
    writer.finish();
    return saved + countSaved(log, writer);
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
        if (response != ModalResponse::ok || !url)
            return;
        const auto saved = saveFiles(platform.log(), *url, files);
        platform.log().print("✅ Saved " + std::to_string(saved) + "/" + std::to_string(files.size())
                             + " files to: " + url->string());
    });
}

}
