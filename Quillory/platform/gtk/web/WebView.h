#pragma once

#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <memory>

#include "platform/WebView.h"
#include "platform/glib/SignalConnection.h"
#include "platform/gtk/web/PageClosing.h"
#include "platform/gtk/web/PageRecovery.h"
#include "platform/gtk/web/ScriptQueue.h"
#include "platform/gtk/web/WebViewConfiguration.h"

namespace quillory::gtk {

class WebView final : public quillory::WebView, public std::enable_shared_from_this<WebView> {
public:
    explicit WebView(const WebViewConfiguration& configuration);
    WebView(const WebView&) = delete;
    WebView& operator=(const WebView&) = delete;

    // There is nothing that it would be asked or told.
    void setNavigationDelegate(std::weak_ptr<NavigationDelegate>) override { }
    void loadFile(const std::filesystem::path& page, const std::filesystem::path& readAccessRoot) override;
    void setFileDropHandler(FileDropHandler handler) override { m_fileDropHandler = std::move(handler); }
    void setPageEndHandler(std::function<void()> handler) override { m_pageEndHandler = std::move(handler); }
    void evaluateJavaScript(Script script, EvaluationCompletion completion) override;

    // Gives the page the time to keep its work; `closed` is called when it has, which it may never do.
    void close(std::function<void()> closed) { closePage(m_view.get(), std::move(closed)); }

    // A widget that shows the page.
    GObjectPtr<GtkWidget> makeWidget();
    void grabFocus();
    void executeEditingCommand(const char* command);

private:
    void load();
    void pageEnded();
    void acceptFilesDroppedOn(GtkWidget* widget);

    // The page is sent no message after the handlers are gone, so they go last.
    std::shared_ptr<UserContentController> m_controller;
    GObjectPtr<WebKitWebView> m_view;
    FileDropHandler m_fileDropHandler;
    std::function<void()> m_pageEndHandler;
    SignalConnection m_drop;
    GStringPtr m_uri; // the page's, once it may be loaded
    PageRecovery m_recovery {m_view.get(), [this] { load(); }};
    SignalConnection m_loadChanged;
    SignalConnection m_processEnded;
    std::shared_ptr<ScriptQueue> m_scripts = std::make_shared<ScriptQueue>(m_view.get());
};

}
