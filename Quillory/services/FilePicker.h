#pragma once

#include <memory>

#include "platform/Platform.h"
#include "services/Page.h"

namespace quillory {

// Lets the user choose a project file and hands its text to the page, if there still is one.
void showFilePicker(Platform& platform, std::weak_ptr<Page> page);

}
