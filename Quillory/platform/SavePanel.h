#pragma once

#include <string>
#include <vector>

#include "platform/ContentType.h"
#include "platform/Panel.h"

namespace quillory {

// Asks where to save one file. A panel is used once; main thread only.
class SavePanel {
public:
    virtual ~SavePanel() = default;
    virtual void setNameFieldStringValue(const std::string& name) = 0;
    virtual void setCanCreateDirectories(bool can) = 0;
    virtual void setAllowedContentTypes(std::vector<ContentType> types) = 0;
    // Shows the panel and returns at once. The panel stays open, and alive, without its holder.
    virtual void beginWithCompletionHandler(PanelCompletion completion) = 0;
};

}
