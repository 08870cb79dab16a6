#pragma once

#include <filesystem>
#include <memory>

#include "platform/Platform.h"
#include "services/Page.h"

namespace quillory {

// Lets the user choose a project file and hands its text to the page, if there still is one.
void showFilePicker(Platform& platform, std::weak_ptr<Page> page);

// The same with a file that was chosen already.
void openProjectFile(Platform& platform, const std::weak_ptr<Page>& page, const std::filesystem::path& file);

}
