#pragma once

#include "platform/Localization.h"
#include "platform/SavePanel.h"
#include "platform/gtk/panels/FilePanel.h"

namespace quillory::gtk {

class SavePanel final : public quillory::SavePanel, public FilePanel {
public:
    explicit SavePanel(Application& application)
        : FilePanel(application, localized("Save"), GTK_FILE_CHOOSER_ACTION_SAVE)
    {
    }

    void setNameFieldStringValue(const std::string& name) override
    {
        gtk_file_chooser_set_current_name(chooser(), name.c_str());
    }
    void setCanCreateDirectories(bool can) override { gtk_file_chooser_set_create_folders(chooser(), can); }
    void setAllowedContentTypes(std::vector<ContentType> types) override { allowTypes(types); }
    void beginWithCompletionHandler(PanelCompletion completion) override { show(std::move(completion)); }
};

}
