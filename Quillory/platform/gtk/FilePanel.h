#pragma once

#include <gtkmm/filechoosernative.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/ContentType.h"
#include "platform/Panel.h"

namespace quillory::gtk {

class Application;

// What the save and the open panel have in common: one file chooser of the desktop, shown once.
class FilePanel : public std::enable_shared_from_this<FilePanel> {
public:
    FilePanel(const FilePanel&) = delete;
    FilePanel& operator=(const FilePanel&) = delete;

protected:
    explicit FilePanel(Application& application)
        : m_application(application)
    {
    }
    ~FilePanel();

    struct Settings {
        std::string title;
        Gtk::FileChooser::Action action = Gtk::FileChooser::Action::OPEN;
        std::string acceptLabel; // empty for the desktop's own
        std::string currentName; // empty for none
        bool createFolders = true;
        std::vector<ContentType> allowedTypes; // empty for all
    };

    void show(const Settings& settings, PanelCompletion completion);

private:
    void watchPortal();
    void ended(int response);

    Application& m_application;
    Glib::RefPtr<Gtk::FileChooserNative> m_chooser;
    PanelCompletion m_completion; // none once the panel has ended
    guint m_portalWatch = 0; // none if the toolkit's own panel is shown
};

}
