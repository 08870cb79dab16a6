#pragma once

#include "platform/SavePanel.h"
#include "platform/gtk/panels/FilePanel.h"

namespace quillory::gtk {

class SavePanel final : public quillory::SavePanel, public FilePanel {
public:
    explicit SavePanel(Application& application);

    void setNameFieldStringValue(const std::string& name) override { m_settings.currentName = name; }
    void setCanCreateDirectories(bool can) override { m_settings.createFolders = can; }
    void setAllowedContentTypes(std::vector<ContentType> types) override { m_settings.allowedTypes = std::move(types); }
    void beginWithCompletionHandler(PanelCompletion completion) override { show(m_settings, std::move(completion)); }

private:
    Settings m_settings;
};

}
