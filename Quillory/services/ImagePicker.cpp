#include "services/ImagePicker.h"

#include <algorithm>
#include <array>

#include "platform/Localization.h"
#include "services/DataURL.h"
#include "services/FileReader.h"
#include "services/PathExtension.h"
#include "support/StringBytes.h"

namespace quillory {

namespace {

const std::array imageTypes {ContentType::png,  ContentType::jpeg, ContentType::gif, ContentType::webP,
                             ContentType::heic, ContentType::bmp,  ContentType::tiff};

auto imageType(const std::filesystem::path& file)
{
    return std::ranges::find_if(imageTypes, [extension = pathExtension(file.string())](const ContentType& candidate) {
        return std::ranges::find(candidate.suffixes, extension) != candidate.suffixes.end();
    });
}

}

std::string imageMimeType(const std::filesystem::path& file)
{
    const auto type = imageType(file);
    return type == imageTypes.end() ? ContentType::png.mimeType : type->mimeType;
}

bool isImageFile(const std::filesystem::path& file)
{
    return imageType(file) != imageTypes.end();
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
