#include "platform/gtk/web/WebViewConfiguration.h"

#include "platform/gtk/application/SoftwareRendering.h"

namespace quillory::gtk {

WebViewConfiguration::WebViewConfiguration()
    : m_settings(webkit_settings_new())
    , m_controller(std::make_shared<UserContentController>())
{
    if (rendersInSoftware())
        webkit_settings_set_hardware_acceleration_policy(m_settings.get(), WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
}

void WebViewConfiguration::setPreference(const std::string& key, bool value)
{
    g_return_if_fail(key == "allowFileAccessFromFileURLs");
    webkit_settings_set_allow_file_access_from_file_urls(m_settings.get(), value);
}

}
