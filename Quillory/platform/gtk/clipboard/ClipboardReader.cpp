#include "platform/gtk/clipboard/ClipboardReader.h"

#include <gdk/x11/gdkx.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "platform/gtk/window/X11Placement.h"

namespace quillory::gtk {

namespace {

constexpr guint patienceSeconds = 5;

bool isEmpty(GdkContentFormats* formats)
{
    gsize mimeTypes = 0;
    gsize types = 0;
    gdk_content_formats_get_mime_types(formats, &mimeTypes);
    gdk_content_formats_get_gtypes(formats, &types);
    return mimeTypes + types == 0;
}

// Only X11 has owners that have not said yet what they offer.
bool awaitsFormats(GdkClipboard* clipboard)
{
    auto* display = gdk_clipboard_get_display(clipboard);
    if (!isX11(display) || gdk_clipboard_is_local(clipboard) || !isEmpty(gdk_clipboard_get_formats(clipboard)))
        return false;
    const auto selection = gdk_x11_get_xatom_by_name_for_display(display, "CLIPBOARD");
    return XGetSelectionOwner(gdk_x11_display_get_xdisplay(display), selection) != None;
}

// One read under way. It holds itself until it is answered or its patience ends; what comes later finds
// the completion gone.
class Read : public std::enable_shared_from_this<Read> {
public:
    explicit Read(ClipboardCompletion completion)
        : m_completion(std::move(completion))
    {
    }

    void start()
    {
        const auto giveUp = [](gpointer self) -> gboolean {
            const auto read = *static_cast<std::shared_ptr<Read>*>(self);
            read->m_patience = 0;
            g_cancellable_cancel(read->m_cancellable.get());
            read->finish(nullptr);
            return G_SOURCE_REMOVE;
        };
        m_patience = g_timeout_add_seconds_full(G_PRIORITY_DEFAULT, patienceSeconds, giveUp, hold(), dropHold);
    }

    void finish(GBytesPtr bytes)
    {
        const auto self = shared_from_this();
        if (m_patience != 0)
            g_source_remove(std::exchange(m_patience, 0));
        if (m_connection != 0)
            g_signal_handler_disconnect(m_emitter, std::exchange(m_connection, 0));
        if (const auto completion = std::exchange(m_completion, nullptr))
            completion(std::move(bytes));
    }

    // A reference for a C callback, which takes it over.
    gpointer hold() { return std::make_unique<std::shared_ptr<Read>>(shared_from_this()).release(); }

    static std::shared_ptr<Read> takeHold(gpointer data)
    {
        const std::unique_ptr<std::shared_ptr<Read>> held(static_cast<std::shared_ptr<Read>*>(data));
        return *held;
    }

    static void dropHold(gpointer data) { takeHold(data); }

    void disconnectWhenFinished(gpointer emitter, gulong connection)
    {
        m_emitter = emitter;
        m_connection = connection;
    }

    GCancellable* cancellable() { return m_cancellable.get(); }

private:
    ClipboardCompletion m_completion;
    GObjectPtr<GCancellable> m_cancellable {g_cancellable_new()};
    guint m_patience = 0;
    gpointer m_emitter = nullptr;
    gulong m_connection = 0;
};

void spliced(GObject* source, GAsyncResult* result, gpointer data)
{
    const auto read = Read::takeHold(data);
    auto* stream = G_OUTPUT_STREAM(source);
    const bool complete = g_output_stream_splice_finish(stream, result, nullptr) >= 0;
    read->finish(GBytesPtr(complete ? g_memory_output_stream_steal_as_bytes(G_MEMORY_OUTPUT_STREAM(stream)) : nullptr));
}

void opened(GObject* source, GAsyncResult* result, gpointer data)
{
    const auto read = Read::takeHold(data);
    const char* mimeType = nullptr;
    const GObjectPtr<GInputStream> input(gdk_clipboard_read_finish(GDK_CLIPBOARD(source), result, &mimeType, nullptr));
    if (!input)
        return read->finish(nullptr);
    const GObjectPtr<GOutputStream> output(g_memory_output_stream_new_resizable());
    const auto closeBoth = static_cast<GOutputStreamSpliceFlags>(G_OUTPUT_STREAM_SPLICE_CLOSE_SOURCE
                                                                 | G_OUTPUT_STREAM_SPLICE_CLOSE_TARGET);
    g_output_stream_splice_async(output.get(), input.get(), closeBoth, G_PRIORITY_DEFAULT, read->cancellable(), spliced,
                                 read->hold());
}

void readText(GObject* source, GAsyncResult* result, gpointer data)
{
    const auto read = Read::takeHold(data);
    char* text = gdk_clipboard_read_text_finish(GDK_CLIPBOARD(source), result, nullptr);
    read->finish(GBytesPtr(text != nullptr ? g_bytes_new_take(text, strlen(text)) : nullptr));
}

}

void whenClipboardFormatsAreKnown(GdkClipboard* clipboard, std::function<void(GdkContentFormats* formats)> completion)
{
    if (!awaitsFormats(clipboard))
        return completion(gdk_clipboard_get_formats(clipboard));
    const auto read = std::make_shared<Read>([clipboard, completion = std::move(completion)](GBytesPtr) {
        completion(gdk_clipboard_get_formats(clipboard));
    });
    read->start();
    const auto changed = [](GdkClipboard*, gpointer data) {
        (*static_cast<std::shared_ptr<Read>*>(data))->finish(nullptr);
    };
    const auto drop = [](gpointer data, GClosure*) { Read::dropHold(data); };
    read->disconnectWhenFinished(
        clipboard,
        g_signal_connect_data(clipboard, "changed", G_CALLBACK(+changed), read->hold(), +drop, G_CONNECT_DEFAULT));
}

void readClipboard(GdkClipboard* clipboard, std::vector<std::string> mimeTypes, ClipboardCompletion completion)
{
    whenClipboardFormatsAreKnown(
        clipboard,
        [clipboard, mimeTypes = std::move(mimeTypes), completion = std::move(completion)](GdkContentFormats* formats) {
            std::vector<const char*> wanted;
            for (const auto& type : mimeTypes) {
                if (gdk_content_formats_contain_mime_type(formats, type.c_str()))
                    wanted.push_back(type.c_str());
            }
            if (wanted.empty())
                return completion(nullptr);
            wanted.push_back(nullptr);
            const auto read = std::make_shared<Read>(completion);
            read->start();
            gdk_clipboard_read_async(clipboard, wanted.data(), G_PRIORITY_DEFAULT, read->cancellable(), opened,
                                     read->hold());
        });
}

void readClipboardText(GdkClipboard* clipboard, ClipboardCompletion completion)
{
    whenClipboardFormatsAreKnown(clipboard, [clipboard, completion = std::move(completion)](GdkContentFormats*) {
        const auto read = std::make_shared<Read>(completion);
        read->start();
        gdk_clipboard_read_text_async(clipboard, read->cancellable(), readText, read->hold());
    });
}

std::vector<std::string> imageFormats(GdkContentFormats* formats)
{
    gsize count = 0;
    const auto* offered = gdk_content_formats_get_mime_types(formats, &count);
    std::vector<std::string> images;
    for (const char* type : std::span(offered, count)) {
        if (std::string_view(type).starts_with("image/"))
            images.emplace_back(type);
    }
    if (images.empty() && gdk_content_formats_contain_gtype(formats, GDK_TYPE_TEXTURE))
        images.emplace_back("image/png");
    std::stable_partition(images.begin(), images.end(), [](const auto& type) { return type == "image/png"; });
    return images;
}

}
