#pragma once

#include <webkit/webkit.h>

#include <memory>
#include <vector>

#include "platform/WebView.h"
#include "platform/gtk/GObjectPtr.h"

namespace quillory::gtk {

class UserContentController final : public quillory::UserContentController {
public:
    UserContentController();
    ~UserContentController() override;
    UserContentController(const UserContentController&) = delete;
    UserContentController& operator=(const UserContentController&) = delete;

    void addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler, const std::string& name) override;

    WebKitUserContentManager* manager() const { return m_manager.get(); }

private:
    struct Registration;

    GObjectPtr<WebKitUserContentManager> m_manager;
    std::vector<std::unique_ptr<Registration>> m_registrations;
};

}
