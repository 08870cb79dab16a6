#include "platform/gtk/OpenPanel.h"

#include "platform/Localization.h"

namespace quillory::gtk {

OpenPanel::OpenPanel(Application& application)
    : FilePanel(application)
{
    m_settings.title = localized("Open");
}

void OpenPanel::setCanChooseFiles(bool can)
{
    if (can)
        m_settings.action = Gtk::FileChooser::Action::OPEN;
}

void OpenPanel::setCanChooseDirectories(bool can)
{
    if (can)
        m_settings.action = Gtk::FileChooser::Action::SELECT_FOLDER;
}

}
