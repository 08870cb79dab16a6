#pragma once

#include <string>
#include <vector>

#include "platform/ContentType.h"
#include "platform/Panel.h"

namespace quillory {

// Asks for one file or folder that exists. A panel is used once; main thread only.
class OpenPanel {
public:
    virtual ~OpenPanel() = default;
    virtual void setCanChooseFiles(bool can) = 0;
    virtual void setCanChooseDirectories(bool can) = 0;
    virtual void setAllowsMultipleSelection(bool allows) = 0;
    virtual void setCanCreateDirectories(bool can) = 0;
    virtual void setAllowedContentTypes(std::vector<ContentType> types) = 0;
    virtual void setMessage(const std::string& message) = 0;
    // The title of the confirming button.
    virtual void setPrompt(const std::string& prompt) = 0;
    // Shows the panel and returns at once. The panel stays open, and alive, without its holder.
    virtual void beginWithCompletionHandler(PanelCompletion completion) = 0;
};

}
