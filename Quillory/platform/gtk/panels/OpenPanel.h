#pragma once

#include "platform/OpenPanel.h"
#include "platform/gtk/panels/FilePanel.h"

namespace quillory::gtk {

class OpenPanel final : public quillory::OpenPanel, public FilePanel {
public:
    explicit OpenPanel(Application& application);

    // The desktop's panel chooses files or folders, never both: files where both are allowed.
    void setCanChooseFiles(bool can) override;
    void setCanChooseDirectories(bool can) override;
    // The desktop's panel chooses one unless told otherwise; nothing here asks for more.
    void setAllowsMultipleSelection(bool) override { }
    void setCanCreateDirectories(bool can) override { m_settings.createFolders = can; }
    void setAllowedContentTypes(std::vector<ContentType> types) override { m_settings.allowedTypes = std::move(types); }
    void setMessage(const std::string& message) override { m_settings.title = message; }
    void setPrompt(const std::string& prompt) override { m_settings.acceptLabel = prompt; }
    void beginWithCompletionHandler(PanelCompletion completion) override { show(m_settings, std::move(completion)); }

private:
    Settings m_settings;
};

}
