#include "platform/gtk/web/WebViewConfiguration.h"

namespace quillory::gtk {

WebViewConfiguration::WebViewConfiguration()
    : m_settings(webkit_settings_new())
    , m_controller(std::make_shared<UserContentController>())
{
}

void WebViewConfiguration::setPreference(const std::string& key, bool value)
{
    g_return_if_fail(key == "allowFileAccessFromFileURLs");
    webkit_settings_set_allow_file_access_from_file_urls(m_settings.get(), value);
}

}
