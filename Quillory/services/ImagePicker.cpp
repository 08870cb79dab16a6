#include "services/ImagePicker.h"

#include <array>

#include "platform/Localization.h"
#include "services/DataURL.h"
#include "services/FileReader.h"
#include "services/PathExtension.h"
#include "support/StringBytes.h"

namespace quillory {

namespace {

const std::array imageTypes {ContentTypes::png,  ContentTypes::jpeg, ContentTypes::gif, ContentTypes::webP,
                             ContentTypes::heic, ContentTypes::bmp,  ContentTypes::tiff};

}

std::string imageMimeType(const std::filesystem::path& file)
{
    const auto* type = typeByExtension(imageTypes, file.string());
    return type != nullptr ? type->mimeType : ContentTypes::png.mimeType;
}

bool isImageFile(const std::filesystem::path& file)
{
    return typeByExtension(imageTypes, file.string()) != nullptr;
}

void showImagePicker(const ServiceContext& context)
{
    const auto panel = context.platform.makeOpenPanel();
    panel->setCanChooseFiles(true);
    panel->setCanChooseDirectories(false);
    panel->setAllowsMultipleSelection(false);
    panel->setAllowedContentTypes({imageTypes.begin(), imageTypes.end()});
    panel->setMessage(localized("Select an image to add to canvas"));
    panel->beginWithCompletionHandler([=](ModalResponse response, const auto& url) {
        if (response == ModalResponse::ok && url)
            openImageFile(context, *url);
    });
}

void openImageFile(const ServiceContext& context, const std::filesystem::path& file)
{
    const auto content = std::make_shared<FileContent>();
    context.platform.inBackground(
        [=] { *content = readFile(file); },
        [=] {
            if (const auto* error = std::get_if<ReadError>(content.get())) {
                context.platform.log().print("❌ Error reading image: " + error->description);
                return context.failures->notOpened(file.filename(), error->description);
            }
            if (const auto receiver = context.page.lock())
                receiver->sendImageToPage(
                    {imageMimeType(file), std::make_shared<StringBytes>(std::get<std::string>(std::move(*content)))});
            context.platform.log().print("✅ Image loaded: " + file.filename().string());
        });
}

}
