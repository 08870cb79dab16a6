#pragma once

#include <filesystem>
#include <string>

#include "services/ServiceContext.h"

namespace quillory {

// Lets the user choose an image file and hands its bytes, as they are, to the page, if there still is one.
void showImagePicker(const ServiceContext& context);

// The same with a file that was chosen already.
void openImageFile(const ServiceContext& context, const std::filesystem::path& file);

// By the file name's extension alone; "image/png" for one that is not known.
std::string imageMimeType(const std::filesystem::path& file);
// Whether the extension is one of those that the picker shows.
bool isImageFile(const std::filesystem::path& file);

}
