#include "platform/gtk/panels/OpenPanel.h"

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
        m_settings.action = GTK_FILE_CHOOSER_ACTION_OPEN;
}

void OpenPanel::setCanChooseDirectories(bool can)
{
    if (can)
        m_settings.action = GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER;
}

}
