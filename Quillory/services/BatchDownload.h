#pragma once

#include <vector>

#include "platform/Platform.h"
#include "services/StringObject.h"

namespace quillory {

// Saves a list of files that the page has exported into one folder that the user picks.

void handleNativeBatchDownload(Platform& platform, const ScriptMessage& message);
// Each entry of `files` holds "filename" and "data" if it is to be saved.
void chooseFolderAndSaveFiles(Platform& platform, std::vector<StringObject> files);

}
