#pragma once

#include <memory>
#include <string>

#include "platform/Platform.h"

namespace quillory {

// Saves one file that the page has exported where the user wants it.

void handleNativeDownload(Platform& platform, const ScriptMessage& message);
void showSavePanel(Platform& platform, const std::string& filename, std::shared_ptr<const Bytes> bytes);

}
