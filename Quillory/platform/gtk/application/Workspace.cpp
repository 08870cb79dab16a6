#include "platform/gtk/application/Workspace.h"

namespace quillory::gtk {

void Workspace::openURL(const std::string& url)
{
    if (url == accessibilitySettingsURL)
        m_hotkeyBackend().openShortcutSettings();
}

}
