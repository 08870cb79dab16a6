#pragma once

#include "platform/Localization.h"
#include "platform/OpenPanel.h"
#include "platform/gtk/panels/FilePanel.h"

namespace quillory::gtk {

class OpenPanel final : public quillory::OpenPanel, public FilePanel {
public:
    explicit OpenPanel(Application& application)
        : FilePanel(application, localized("Open"), GTK_FILE_CHOOSER_ACTION_OPEN)
    {
    }

    // The desktop's panel chooses files or folders, never both: files unless it is told otherwise.
    void setCanChooseFiles(bool) override { }
    void setCanChooseDirectories(bool can) override
    {
        gtk_file_chooser_set_action(chooser(),
                                    can ? GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER : GTK_FILE_CHOOSER_ACTION_OPEN);
    }
    // The desktop's panel chooses one unless told otherwise; nothing here asks for more.
    void setAllowsMultipleSelection(bool) override { }
    void setCanCreateDirectories(bool can) override { gtk_file_chooser_set_create_folders(chooser(), can); }
    void setAllowedContentTypes(std::vector<ContentType> types) override { allowTypes(types); }
    void setMessage(const std::string& message) override
    {
        gtk_native_dialog_set_title(GTK_NATIVE_DIALOG(chooser()), message.c_str());
    }
    void setPrompt(const std::string& prompt) override
    {
        gtk_file_chooser_native_set_accept_label(GTK_FILE_CHOOSER_NATIVE(chooser()), prompt.c_str());
    }
    void beginWithCompletionHandler(PanelCompletion completion) override { show(std::move(completion)); }
};

}
