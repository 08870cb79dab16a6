#pragma once

#include <gtk/gtk.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/ContentType.h"
#include "platform/Panel.h"
#include "platform/glib/GObjectPtr.h"
#include "platform/glib/SignalConnection.h"

namespace quillory::gtk {

class Application;

// What the save and the open panel have in common: one file chooser of the desktop, shown once.
class FilePanel : public std::enable_shared_from_this<FilePanel> {
public:
    FilePanel(const FilePanel&) = delete;
    FilePanel& operator=(const FilePanel&) = delete;

protected:
    FilePanel(Application& application, const std::string& title, GtkFileChooserAction action);
    ~FilePanel();

    GtkFileChooser* chooser() const { return GTK_FILE_CHOOSER(m_chooser.get()); }
    void allowTypes(const std::vector<ContentType>& types);
    void show(PanelCompletion completion);

private:
    void watchPortal();
    void ended(int response);

    Application& m_application;
    GObjectPtr<GtkFileChooserNative> m_chooser;
    PanelCompletion m_completion; // none once the panel has ended
    // The toolkit may hold the chooser for longer, while a portal's answer is under way.
    SignalConnection m_response;
    guint m_portalWatch = 0; // none if the toolkit's own panel is shown
    bool m_portalIsThere = false;
};

}
