#include "services/BatchDownload.h"

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

// True if the file is on disk now. One decoded file is held at a time.
bool saveFile(Platform& platform, const std::filesystem::path& folder, const StringObject& file)
{
    const auto filename = textForKey(file, "filename");
    const auto data = textForKey(file, "data");
    if (!filename || !data)
        return false;
    const auto bytes = decodeDataURLPayload(*data);
    if (!bytes)
        return false;
    const auto name = filename->utf8();
    if (const auto error = writeFileInFolder(folder, name, bytes->span())) {
        platform.log().print("❌ Error saving " + name + ": " + *error);
        return false;
    }
    return true;
}

void saveFiles(Platform& platform, const std::filesystem::path& folder, const std::vector<StringObject>& files)
{
    std::size_t saved = 0;
    for (const auto& file : files) {
        if (saveFile(platform, folder, file))
            ++saved;
    }
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
