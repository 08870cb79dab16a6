#include "services/FilePicker.h"

#include "platform/Localization.h"
#include "services/FileReader.h"
#include "support/UTF8.h"

namespace quillory {

namespace {

std::variant<std::string, ReadError> readText(const std::filesystem::path& path)
{
    auto content = readFile(path);
    if (const auto* text = std::get_if<std::string>(&content); text != nullptr && !isValidUTF8(*text))
        return ReadError {"The file is not valid UTF-8 text"};
    return content;
}

}

void showFilePicker(Platform& platform, std::weak_ptr<Page> page)
{
    const auto panel = platform.makeOpenPanel();
    panel->setCanChooseFiles(true);
    panel->setCanChooseDirectories(false);
    panel->setAllowsMultipleSelection(false);
    panel->setAllowedContentTypes({ContentType::json});
    panel->setMessage(localized("Select a Quillory project file"));
    panel->beginWithCompletionHandler([&platform, page](ModalResponse response, const auto& url) {
        if (response == ModalResponse::ok && url)
            openProjectFile(platform, page, *url);
    });
}

void openProjectFile(Platform& platform, const std::weak_ptr<Page>& page, const std::filesystem::path& file)
{
    auto content = readText(file);
    if (const auto* error = std::get_if<ReadError>(&content)) {
        platform.log().print("❌ Error reading file: " + error->description);
        return;
    }
    if (const auto receiver = page.lock())
        receiver->sendFileContentToPage(std::get<std::string>(std::move(content)));
    platform.log().print("✅ File loaded: " + file.filename().string());
}

}
