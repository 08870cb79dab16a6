#pragma once

#include <webkit/webkit.h>

#include "platform/WebView.h"
#include "platform/gtk/web/UserContentController.h"

namespace quillory::gtk {

class WebViewConfiguration final : public quillory::WebViewConfiguration {
public:
    WebViewConfiguration();

    void setPreference(const std::string& key, bool value) override;
    UserContentController& userContentController() override { return *m_controller; }

    WebKitSettings* settings() const { return m_settings.get(); }
    std::shared_ptr<UserContentController> sharedUserContentController() const { return m_controller; }

private:
    GObjectPtr<WebKitSettings> m_settings;
    std::shared_ptr<UserContentController> m_controller;
};

}
