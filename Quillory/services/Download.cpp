#include "services/Download.h"

#include <array>

#include "services/DataURL.h"
#include "services/FileWriter.h"
#include "services/PathExtension.h"

namespace quillory {

namespace {

const std::array exportedTypes {ContentTypes::png, ContentTypes::jpeg, ContentTypes::pdf, ContentTypes::json};

void saveFile(const ServiceContext& context, const std::filesystem::path& file, const Bytes& bytes, const Reply& reply)
{
    if (const auto error = writeFile(file, bytes.span())) {
        context.platform.log().print("❌ Error saving file: " + *error);
        context.failures->notSaved(file.filename(), *error);
        reply.failed(file.filename(), *error);
    } else {
        context.platform.log().print("✅ File saved to: " + file.string());
        reply.saved(file);
    }
}

void saveFileAgain(const ServiceContext& context, const std::string& filename, std::shared_ptr<const Bytes> bytes,
                   const Reply& reply)
{
    const auto file = reply.namedFile();
    if (!file) {
        constexpr const char* error = "The page has no such file";
        context.platform.log().print(std::string("❌ Error saving file: ") + error);
        return reply.failed(filename, error);
    }
    context.platform.mainQueue().async([=, bytes = std::move(bytes)] { saveFile(context, *file, *bytes, reply); });
}

}

void handleNativeDownload(const ServiceContext& context, const ScriptMessage& message)
{
    auto& log = context.platform.log();
    const Reply reply(context.loadedPage, *message.body);
    const auto filename = message.body->at("filename")->text();
    const auto data = message.body->at("data")->text();
    if (!filename || !data || !message.body->isStringObject()) {
        log.print("❌ Invalid download message");
        return reply.failed({}, "Invalid download message");
    }
    const auto name = filename->utf8();
    log.print("📥 Native download requested: " + name);

    std::shared_ptr<const Bytes> bytes = decodeDataURLPayload(*data);
    if (!bytes) {
        log.print("❌ Failed to decode data URL");
        return reply.failed(name, "Failed to decode data URL");
    }
    log.print("✅ Decoded " + std::to_string(bytes->span().size()) + " bytes");
    if (reply.namesFile())
        return saveFileAgain(context, name, std::move(bytes), reply);
    context.platform.mainQueue().async([=, bytes = std::move(bytes)] { showSavePanel(context, name, bytes, reply); });
}

void showSavePanel(const ServiceContext& context, const std::string& filename, std::shared_ptr<const Bytes> bytes,
                   const Reply& reply)
{
    const auto panel = context.platform.makeSavePanel();
    panel->setNameFieldStringValue(filename);
    panel->setCanCreateDirectories(true);
    if (const auto* type = typeByExtension(exportedTypes, filename))
        panel->setAllowedContentTypes({*type});

    panel->beginWithCompletionHandler([=, bytes = std::move(bytes)](ModalResponse response, const auto& url) {
        if (response != ModalResponse::ok || !url)
            return reply.cancelled(filename);
        saveFile(context, *url, *bytes, reply);
    });
}

}
