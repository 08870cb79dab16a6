#pragma once

#include <memory>
#include <string>

#include "platform/WebView.h"
#include "services/Reply.h"
#include "services/ServiceContext.h"

namespace quillory {

// Saves one file that the page has exported where the user wants it, or where the user wanted it before.

void handleNativeDownload(const ServiceContext& context, const ScriptMessage& message);
void showSavePanel(const ServiceContext& context, const std::string& filename, std::shared_ptr<const Bytes> bytes,
                   const Reply& reply);

}
