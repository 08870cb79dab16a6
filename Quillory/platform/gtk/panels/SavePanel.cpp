#include "platform/gtk/panels/SavePanel.h"

#include "platform/Localization.h"

namespace quillory::gtk {

SavePanel::SavePanel(Application& application)
    : FilePanel(application)
{
    m_settings.title = localized("Save");
    m_settings.action = GTK_FILE_CHOOSER_ACTION_SAVE;
}

}
