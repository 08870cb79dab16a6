#include "services/FilePicker.h"

#include "platform/Localization.h"
#include "services/FileReader.h"
#include "support/UTF8.h"

namespace quillory {

namespace {

FileContent readText(const std::filesystem::path& path)
{
    auto content = readFile(path);
    if (const auto* text = std::get_if<std::string>(&content); text != nullptr && !isValidUTF8(*text))
        return ReadError {localizable("The file is not valid UTF-8 text")};
    return content;
}

}

void showFilePicker(const ServiceContext& context, const Reply& reply)
{
    const auto panel = context.platform.makeOpenPanel();
    panel->setCanChooseFiles(true);
    panel->setCanChooseDirectories(false);
    panel->setAllowsMultipleSelection(false);
    panel->setAllowedContentTypes({ContentTypes::json});
    panel->setMessage(localized("Select a Quillory project file"));
    panel->beginWithCompletionHandler([=](ModalResponse response, const auto& url) {
        if (response != ModalResponse::ok || !url)
            return reply.cancelled();
        openProjectFile(context, *url, reply);
    });
}

void openProjectFile(const ServiceContext& context, const std::filesystem::path& file, const Reply& reply)
{
    const auto content = std::make_shared<FileContent>();
    context.platform.inBackground([=] { *content = readText(file); },
                                  [=] {
                                      if (const auto* error = std::get_if<ReadError>(content.get())) {
                                          context.platform.log().print("❌ Error reading file: " + error->description);
                                          context.failures->notOpened(file.filename(), error->description);
                                          return reply.failed(file.filename(), error->description);
                                      }
                                      reply.opened(file);
                                      if (const auto receiver = context.page.lock())
                                          receiver->sendFileContentToPage(std::get<std::string>(std::move(*content)));
                                      context.platform.log().print("✅ File loaded: " + file.filename().string());
                                  });
}

}
