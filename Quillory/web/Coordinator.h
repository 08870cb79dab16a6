#pragma once

#include <memory>

#include "platform/Platform.h"
#include "services/Clipboard.h"
#include "services/ServiceContext.h"
#include "web/PageCall.h"
#include "web/WebView.h"

namespace quillory::web {

// Receives what the page posts, routes it to the services, and calls back into the page. The web view's
// configuration holds it; it holds the web view weakly.
class WebView::Coordinator final : public ScriptMessageHandler,
                                   public NavigationDelegate,
                                   public Page,
                                   public std::enable_shared_from_this<Coordinator> {
public:
    static std::shared_ptr<Coordinator> make(Platform& platform);

    std::weak_ptr<quillory::WebView> webView;

    void didReceiveScriptMessage(UserContentController& controller, const ScriptMessage& message) override;
    void handleNativeFilePicker(const ScriptMessage& message);
    void handleNativeImagePicker();

    void sendFileContentToPage(std::string content) override;
    void sendImageToPage(DataURL image) override;
    void sendPasteContentToPage(std::string content) override;
    void sendResultToPage(std::string result) override;

    // What the services do their work with, for the page that is loaded now.
    ServiceContext context();
    // Forgets what the page was given: there will be another one.
    void pageEnded();

private:
    explicit Coordinator(Platform& platform);

    void evaluate(const PageCall& call, Script script);

    Platform& m_platform;
    std::shared_ptr<FailureAlert> m_failures;
    std::shared_ptr<LoadedPage> m_loadedPage;
    std::shared_ptr<Clipboard> m_clipboard;
};

}
