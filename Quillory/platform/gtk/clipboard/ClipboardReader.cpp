#include "platform/gtk/clipboard/ClipboardReader.h"

#include <gdk/x11/gdkx.h>

#include <algorithm>
#include <cstdio>
#include <span>
#include <string_view>
#include <utility>

#include "platform/glib/AsyncReady.h"
#include "platform/glib/BoundedStream.h"
#include "platform/gtk/window/X11Placement.h"

namespace quillory::gtk {

namespace {

constexpr std::chrono::seconds patience {5};

// Only X11 has owners that have not said yet what they offer.
bool awaitsFormats(GdkClipboard* clipboard)
{
    auto* display = gdk_clipboard_get_display(clipboard);
    gsize offered = 0;
    gdk_content_formats_get_mime_types(gdk_clipboard_get_formats(clipboard), &offered);
    if (!isX11(display) || gdk_clipboard_is_local(clipboard) || offered > 0)
        return false;
    const auto selection = gdk_x11_get_xatom_by_name_for_display(display, "CLIPBOARD");
    return XGetSelectionOwner(gdk_x11_display_get_xdisplay(display), selection) != None;
}

void reportNoRoom(bool isOutOfMemory, const std::string& mimeType)
{
    if (isOutOfMemory)
        std::fprintf(stderr, "quillory: there is no memory for the clipboard's %s, which counts as nothing\n",
                     mimeType.c_str());
    else
        std::fprintf(stderr, "quillory: the clipboard has more than %zu MiB of %s, which counts as nothing\n",
                     static_cast<std::size_t>(mostBytes >> 20), mimeType.c_str());
}

}

ClipboardReader::ClipboardReader(GdkClipboard* clipboard)
    : m_clipboard(clipboard)
    , m_content(retain(gdk_clipboard_get_content(clipboard)))
{
}

bool ClipboardReader::isOver() const
{
    return g_cancellable_is_cancelled(m_cancellable.get()) != 0
        || gdk_clipboard_get_content(m_clipboard) != m_content.get();
}

unsigned ClipboardReader::begin(Completion completion)
{
    m_completion = std::move(completion);
    if (m_questions == 0)
        m_patience.start(patience, [weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                g_cancellable_cancel(self->m_cancellable.get());
                self->finish(self->m_questions, nullptr);
            }
            return false;
        });
    return ++m_questions;
}

void ClipboardReader::finish(unsigned question, GBytesPtr bytes)
{
    if (question != m_questions)
        return;
    m_changed.reset();
    if (const auto completion = std::exchange(m_completion, nullptr))
        completion(std::move(bytes));
}

void ClipboardReader::whenFormatsAreKnown(FormatsCompletion completion)
{
    if (isOver() || !awaitsFormats(m_clipboard))
        return completion(gdk_clipboard_get_formats(m_clipboard));
    const auto self = shared_from_this();
    const auto question = begin([self, completion = std::move(completion)](GBytesPtr) {
        completion(gdk_clipboard_get_formats(self->m_clipboard));
    });
    m_changed = connectScoped<void()>(m_clipboard, "changed", [this, question] { finish(question, nullptr); });
}

void ClipboardReader::read(std::vector<std::string> mimeTypes, Completion completion)
{
    whenFormatsAreKnown([self = shared_from_this(), mimeTypes = std::move(mimeTypes),
                         completion = std::move(completion)](GdkContentFormats* formats) mutable {
        const auto offered = std::ranges::find_if(mimeTypes, [&](const auto& type) {
            return gdk_content_formats_contain_mime_type(formats, type.c_str()) != 0;
        });
        if (self->isOver() || offered == mimeTypes.end())
            return completion(nullptr);
        const auto question = self->begin(std::move(completion));
        const std::array<const char*, 2> wanted {offered->c_str(), nullptr};
        const auto ready = [self, question, type = *offered](GObject* source, GAsyncResult* result) {
            const GObjectPtr<GInputStream> input(
                gdk_clipboard_read_finish(GDK_CLIPBOARD(source), result, nullptr, nullptr));
            self->opened(question, input.get(), type);
        };
        gdk_clipboard_read_async(self->m_clipboard, const_cast<const char**>(wanted.data()), G_PRIORITY_DEFAULT,
                                 self->m_cancellable.get(), AsyncReady::call, AsyncReady::make(ready));
    });
}

// `input` is null if the owner refused.
void ClipboardReader::opened(unsigned question, GInputStream* input, const std::string& mimeType)
{
    if (input == nullptr)
        return finish(question, nullptr);
    const auto output = makeBoundedStream();
    const auto ready = [self = shared_from_this(), question, mimeType](GObject* stream, GAsyncResult* result) {
        GError* error = nullptr;
        const bool complete = g_output_stream_splice_finish(G_OUTPUT_STREAM(stream), result, &error) >= 0;
        const GErrorPtr owner(error);
        auto* memory = G_MEMORY_OUTPUT_STREAM(stream);
        if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_NO_SPACE) != 0)
            reportNoRoom(g_memory_output_stream_get_size(memory) < mostBytes, mimeType);
        self->finish(question, GBytesPtr(complete ? g_memory_output_stream_steal_as_bytes(memory) : nullptr));
    };
    g_output_stream_splice_async(output.get(), input, closeBothStreams, G_PRIORITY_DEFAULT, m_cancellable.get(),
                                 AsyncReady::call, AsyncReady::make(ready));
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
