#pragma once

#include <vector>

#include "platform/WebView.h"
#include "services/Reply.h"
#include "services/ServiceContext.h"
#include "services/StringObject.h"

namespace quillory {

// Saves a list of files that the page has exported into one folder that the user picks.

void handleNativeBatchDownload(const ServiceContext& context, const ScriptMessage& message);
// Each entry of `files` holds "filename" and "data" if it is to be saved.
void chooseFolderAndSaveFiles(const ServiceContext& context, std::vector<StringObject> files, const Reply& reply);

}
