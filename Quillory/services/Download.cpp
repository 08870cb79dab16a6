#include "services/Download.h"

#include <algorithm>

#include "services/DataURL.h"
#include "services/FileWriter.h"
#include "services/PathExtension.h"
#include "services/StringObject.h"

namespace quillory {

namespace {

std::optional<ContentType> allowedType(const std::string& filename)
{
    const auto extension = pathExtension(filename);
    for (const auto& type : {ContentType::png, ContentType::jpeg, ContentType::pdf, ContentType::json}) {
        if (std::ranges::find(type.suffixes, extension) != type.suffixes.end())
            return type;
    }
    return std::nullopt;
}

}

void handleNativeDownload(Platform& platform, const ScriptMessage& message)
{
    const auto body = readStringObject(*message.body);
    const auto filename = body ? textForKey(*body, "filename") : nullptr;
    const auto data = body ? textForKey(*body, "data") : nullptr;
    if (!filename || !data) {
        platform.log().print("❌ Invalid download message");
        return;
    }
    const auto name = filename->utf8();
    platform.log().print("📥 Native download requested: " + name);

    std::shared_ptr<const Bytes> bytes = decodeDataURLPayload(*data);
    if (!bytes) {
        platform.log().print("❌ Failed to decode data URL");
        return;
    }
    platform.log().print("✅ Decoded " + std::to_string(bytes->span().size()) + " bytes");
    platform.mainQueue().async([&platform, name, bytes = std::move(bytes)] { showSavePanel(platform, name, bytes); });
}

void showSavePanel(Platform& platform, const std::string& filename, std::shared_ptr<const Bytes> bytes)
{
    const auto panel = platform.makeSavePanel();
    panel->setNameFieldStringValue(filename);
    panel->setCanCreateDirectories(true);
    if (const auto type = allowedType(filename))
        panel->setAllowedContentTypes({*type});

    panel->beginWithCompletionHandler([&platform, bytes = std::move(bytes)](ModalResponse response, const auto& url) {
        if (response != ModalResponse::ok || !url)
            return;
        if (const auto error = writeFile(*url, bytes->span()))
            platform.log().print("❌ Error saving file: " + *error);
        else
            platform.log().print("✅ File saved to: " + url->string());
    });
}

}
