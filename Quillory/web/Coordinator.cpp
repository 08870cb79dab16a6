#include "web/Coordinator.h"

#include "services/BatchDownload.h"
#include "services/Download.h"
#include "services/FilePicker.h"
#include "services/ImagePicker.h"

namespace quillory::web {

WebView::Coordinator::Coordinator(Platform& platform)
    : m_platform(platform)
{
}

std::shared_ptr<WebView::Coordinator> WebView::Coordinator::make(Platform& platform)
{
    std::shared_ptr<Coordinator> coordinator(new Coordinator(platform));
    coordinator->m_clipboard = std::make_shared<Clipboard>(platform, coordinator);
    return coordinator;
}

void WebView::Coordinator::didReceiveScriptMessage(UserContentController&, const ScriptMessage& message)
{
    if (message.name == "nativeDownload")
        handleNativeDownload(m_platform, message);
    else if (message.name == "nativeBatchDownload")
        handleNativeBatchDownload(m_platform, message);
    else if (message.name == "nativeFilePicker")
        handleNativeFilePicker();
    else if (message.name == "nativeImagePicker")
        handleNativeImagePicker();
    else if (message.name == "nativeCopy")
        m_clipboard->handleNativeCopy(message);
    else if (message.name == "nativePaste")
        m_clipboard->handleNativePaste();
    else
        m_platform.log().print("❌ Unknown message: " + message.name);
}

void WebView::Coordinator::handleNativeFilePicker()
{
    m_platform.log().print("📂 Native file picker requested");
    m_platform.mainQueue().async([self = shared_from_this()] { showFilePicker(self->m_platform, self); });
}

void WebView::Coordinator::handleNativeImagePicker()
{
    m_platform.log().print("🖼️ Native image picker requested");
    m_platform.mainQueue().async([self = shared_from_this()] { showImagePicker(self->m_platform, self); });
}

void WebView::Coordinator::sendFileContentToPage(std::string content)
{
    evaluate(fileContentCall, scriptForText(fileContentCall, std::move(content)));
}

void WebView::Coordinator::sendImageToPage(DataURL image)
{
    auto script = scriptForDataURL(imageCall, image);
    // The image's bytes are not needed beside the script, which has them too.
    // cppcheck-suppress [uselessAssignmentArg, unreadVariable]
    image = {};
    evaluate(imageCall, std::move(script));
}

void WebView::Coordinator::sendPasteContentToPage(std::string content)
{
    evaluate(pasteContentCall, scriptForText(pasteContentCall, std::move(content)));
}

void WebView::Coordinator::evaluate(const PageCall& call, std::string script)
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
