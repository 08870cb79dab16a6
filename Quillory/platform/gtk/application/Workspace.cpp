#include "platform/gtk/application/Workspace.h"

#include <gio/gio.h>

namespace quillory::gtk {

void Workspace::openURL(const std::string& url)
{
    if (url == accessibilitySettingsURL)
        return m_hotkeyBackend().openShortcutSettings();
    g_app_info_launch_default_for_uri_async(url.c_str(), nullptr, nullptr, nullptr, nullptr);
}

}
