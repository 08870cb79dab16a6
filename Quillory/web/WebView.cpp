#include "web/WebView.h"

#include "services/FileDrop.h"
#include "web/Coordinator.h"

namespace quillory::web {

namespace fs = std::filesystem;

std::shared_ptr<WebView::Coordinator> WebView::makeCoordinator() const
{
    return Coordinator::make(m_platform);
}

std::shared_ptr<quillory::WebView> WebView::makeNSView(const Context& context) const
{
    auto configuration = m_platform.makeWebViewConfiguration();
    configuration->setPreference("allowFileAccessFromFileURLs", true);
    for (const char* name : {"nativeDownload", "nativeBatchDownload", "nativeFilePicker", "nativeImagePicker",
                             "nativeCopy", "nativePaste"})
        configuration->userContentController().addScriptMessageHandler(context.coordinator, name);

    auto view = m_platform.makeWebView(std::move(configuration));
    view->setNavigationDelegate(context.coordinator);
    context.coordinator->webView = view;
    const std::weak_ptr<Coordinator> weak = context.coordinator;
    view->setFileDropHandler([weak](const auto& files) {
        if (const auto coordinator = weak.lock())
            openDroppedFiles(coordinator->context(), files);
    });
    view->setPageEndHandler([weak] {
        if (const auto coordinator = weak.lock())
            coordinator->pageEnded();
    });

    if (const auto resources = m_platform.mainBundle().resourceURL()) {
        const auto folder = *resources / "WebContent";
        const auto page = folder / "index.html";
        std::error_code error;
        if (fs::exists(page, error))
            view->loadFile(page, folder);
    }
    return view;
}

View WebView::body() const
{
    return HostedWebView {[*this] { return makeNSView({makeCoordinator()}); }};
}

}
