#pragma once

#include <webkit/webkit.h>

#include <memory>
#include <vector>

#include "platform/WebView.h"
#include "platform/glib/GObjectPtr.h"
#include "platform/glib/SignalConnection.h"
#include "platform/glib/Timeout.h"
#include "platform/gtk/web/JSCTextFunctions.h"

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
    void setAccentColorOfPage(const std::string& color);
    std::shared_ptr<JSCTextFunctions> textFunctions(JSCContext* context);

    GObjectPtr<WebKitUserContentManager> m_manager;
    std::vector<SignalConnection> m_connections;
    // The engine makes a context's object anew for each message unless somebody holds it. They are kept while
    // one message follows another, not for longer: with the context goes what the messages have left in it.
    std::shared_ptr<JSCTextFunctions> m_textFunctions;
    Timeout m_release;
};

}
