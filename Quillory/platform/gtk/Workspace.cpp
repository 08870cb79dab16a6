#include "platform/gtk/Workspace.h"

#include <giomm/appinfo.h>

namespace quillory::gtk {

void Workspace::openURL(const std::string& url)
{
    if (url == accessibilitySettingsURL)
        return m_hotkeyBackend().openShortcutSettings();
    Gio::AppInfo::launch_default_for_uri_async(url);
}

}
