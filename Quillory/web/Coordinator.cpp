#include "web/Coordinator.h"

#include <cstdio>

#include "services/BatchDownload.h"
#include "services/Download.h"
#include "services/FilePicker.h"
#include "services/ImagePicker.h"

namespace quillory::web {

WebView::Coordinator::Coordinator(Platform& platform)
    : m_platform(platform)
    , m_failures(std::make_shared<FailureAlert>(platform))
{
}

std::shared_ptr<WebView::Coordinator> WebView::Coordinator::make(Platform& platform)
{
    std::shared_ptr<Coordinator> coordinator(new Coordinator(platform));
    coordinator->pageEnded();
    coordinator->m_clipboard = std::make_shared<Clipboard>(platform, coordinator);
    return coordinator;
}

void WebView::Coordinator::didReceiveScriptMessage(UserContentController&, const ScriptMessage& message)
{
    if (message.name == "nativeDownload")
        handleNativeDownload(context(), message);
    else if (message.name == "nativeBatchDownload")
        handleNativeBatchDownload(context(), message);
    else if (message.name == "nativeFilePicker")
        handleNativeFilePicker(message);
    else if (message.name == "nativeImagePicker")
        handleNativeImagePicker();
    else if (message.name == "nativeCopy")
        m_clipboard->handleNativeCopy(message);
    else if (message.name == "nativePaste")
        m_clipboard->handleNativePaste();
    else
        m_platform.log().print("❌ Unknown message: " + message.name);
}

void WebView::Coordinator::handleNativeFilePicker(const ScriptMessage& message)
{
    m_platform.log().print("📂 Native file picker requested");
    const Reply reply(m_loadedPage, *message.body);
    m_platform.mainQueue().async([self = shared_from_this(), reply] { showFilePicker(self->context(), reply); });
}

void WebView::Coordinator::handleNativeImagePicker()
{
    m_platform.log().print("🖼️ Native image picker requested");
    m_platform.mainQueue().async([self = shared_from_this()] { showImagePicker(self->context()); });
}

void WebView::Coordinator::sendFileContentToPage(std::string content)
{
    evaluate(fileContentCall, scriptForText(fileContentCall, std::move(content)));
}

void WebView::Coordinator::sendImageToPage(DataURL image)
{
    evaluate(imageCall, scriptForDataURL(imageCall, std::move(image)));
}

void WebView::Coordinator::sendPasteContentToPage(std::string content)
{
    evaluate(pasteContentCall, scriptForText(pasteContentCall, std::move(content)));
}

void WebView::Coordinator::sendResultToPage(std::string result)
{
    const auto view = webView.lock();
    if (!view)
        return;
    view->evaluateJavaScript(scriptForText(resultCall, std::move(result)), [](const auto& error) {
        if (error)
            std::fprintf(stderr, "quillory: the page did not take a result: %s\n", error->c_str());
    });
}

ServiceContext WebView::Coordinator::context()
{
    return {m_platform, weak_from_this(), m_loadedPage, m_failures};
}

void WebView::Coordinator::pageEnded()
{
    m_loadedPage = std::make_shared<LoadedPage>(weak_from_this());
}

void WebView::Coordinator::evaluate(const PageCall& call, Script script)
{
    const auto view = webView.lock();
    if (!view)
        return;
    view->evaluateJavaScript(std::move(script), [&log = m_platform.log(), &call](std::optional<std::string> error) {
        if (error)
            log.print(std::string(call.failurePrefix) + *error);
        else
            log.print(call.successLine);
    });
}

}
