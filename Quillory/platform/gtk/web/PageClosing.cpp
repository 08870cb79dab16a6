#include "platform/gtk/web/PageClosing.h"

#include "platform/glib/AsyncReady.h"
#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

namespace {

// A database does its changes in their order: what reads all of it waits for every change asked for before. The
// page may ask for one a little later, when its promises are kept, which are before the next message.
constexpr const char* script = R"(
window.dispatchEvent(new PageTransitionEvent("pagehide"));
const channel = new MessageChannel();
await new Promise((resolve) => { channel.port1.onmessage = resolve; channel.port2.postMessage(null); });
for (const {name} of await indexedDB.databases()) {
    const request = indexedDB.open(name);
    await new Promise((resolve) => { request.onsuccess = request.onerror = request.onblocked = resolve; });
    const stores = request.readyState === "done" && !request.error ? [...request.result.objectStoreNames] : [];
    if (stores.length === 0)
        continue;
    const reading = request.result.transaction(stores);
    reading.objectStore(stores[0]).getAllKeys(null, 1);
    await new Promise((resolve) => { reading.oncomplete = reading.onabort = resolve; });
}
)";

}

void closePage(WebKitWebView* view, std::function<void()> closed)
{
    const auto evaluated = [closed = std::move(closed)](GObject* source, GAsyncResult* result) {
        const GObjectPtr<::JSCValue> value(
            webkit_web_view_call_async_javascript_function_finish(WEBKIT_WEB_VIEW(source), result, nullptr));
        closed();
    };
    webkit_web_view_call_async_javascript_function(view, script, -1, nullptr, nullptr, nullptr, nullptr,
                                                   AsyncReady::call, AsyncReady::make(evaluated));
}

}
