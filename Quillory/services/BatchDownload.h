#pragma once

#include <memory>

#include "platform/WebView.h"
#include "services/Reply.h"
#include "services/ServiceContext.h"

namespace quillory {

// Saves a list of files that the page has exported into one folder that the user picks.

void handleNativeBatchDownload(const ServiceContext& context, const ScriptMessage& message);
// A list of objects, each of which holds "filename" and "data" if it is to be saved.
using FileList = std::shared_ptr<const Value>;
void chooseFolderAndSaveFiles(const ServiceContext& context, const FileList& files, const Reply& reply);

}
