#include "platform/gtk/clipboard/Pasteboard.h"

#include <vector>

#include "platform/gtk/clipboard/ClipboardReader.h"
#include "platform/gtk/clipboard/ImageConversion.h"
#include "support/UTF8.h"

namespace quillory::gtk {

namespace {

// Types without a slash do not travel.
constexpr const char* objectMimeType = "application/x-com.quillory.object";

GdkClipboard* clipboard()
{
    return gdk_display_get_clipboard(gdk_display_get_default());
}

std::vector<const char*> mimeTypes(const std::string& type)
{
    if (type == PasteboardType::object)
        return {objectMimeType};
    return {"text/plain;charset=utf-8", "text/plain"};
}

std::string_view view(GBytes* bytes)
{
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    return {data, size};
}

GBytesPtr copyOf(const TextHandle& text)
{
    auto string = std::make_unique<std::string>(text->utf8());
    const auto* data = string->data();
    const auto size = string->size();
    return GBytesPtr(g_bytes_new_with_free_func(
        data, size, [](gpointer owned) { delete static_cast<std::string*>(owned); }, string.release()));
}

std::optional<std::string> validText(GBytesPtr bytes)
{
    if (!bytes || !isValidUTF8(view(bytes.get())))
        return std::nullopt;
    return std::string(view(bytes.get()));
}

class GlibBytes final : public Bytes {
public:
    explicit GlibBytes(GBytesPtr bytes)
        : m_bytes(std::move(bytes))
    {
    }
    std::span<const std::byte> span() const override { return std::as_bytes(std::span(view(m_bytes.get()))); }

private:
    GBytesPtr m_bytes;
};

// Tries one offered format after the other until one of them is an image.
void readImage(std::vector<std::string> formats, const Pasteboard::DataCompletion& completion)
{
    if (formats.empty())
        return completion(nullptr);
    const auto format = formats.front();
    formats.erase(formats.begin());
    readClipboard(clipboard(), {format}, [formats = std::move(formats), completion](GBytesPtr bytes) mutable {
        if (!bytes)
            return readImage(std::move(formats), completion);
        convertToPNG(std::move(bytes), [formats = std::move(formats), completion](GBytesPtr png) mutable {
            if (!png)
                return readImage(std::move(formats), completion);
            completion(std::make_shared<GlibBytes>(std::move(png)));
        });
    });
}

}

Pasteboard::~Pasteboard()
{
    if (m_publication != 0)
        g_source_remove(m_publication);
}

void Pasteboard::clearContents()
{
    m_contents.clear();
    schedulePublication();
}

void Pasteboard::setString(const TextHandle& text, const std::string& type)
{
    if (text != m_lastText) {
        m_lastBytes = copyOf(text);
        m_lastText = text;
    }
    m_contents[type] = GBytesPtr(g_bytes_ref(m_lastBytes.get()));
    schedulePublication();
}

// Other programs see one change of owner, not one for each type.
void Pasteboard::schedulePublication()
{
    if (m_publication != 0)
        return;
    const auto run = [](gpointer self) -> gboolean {
        static_cast<Pasteboard*>(self)->publish();
        return G_SOURCE_REMOVE;
    };
    m_publication = g_idle_add_full(G_PRIORITY_HIGH, run, this, nullptr);
}

void Pasteboard::publish()
{
    m_publication = 0;
    m_lastText.reset();
    m_lastBytes.reset();
    std::vector<GdkContentProvider*> providers;
    for (const auto& [type, bytes] : m_contents) {
        for (const char* mimeType : mimeTypes(type))
            providers.push_back(gdk_content_provider_new_for_bytes(mimeType, bytes.get()));
    }
    m_provider.reset(gdk_content_provider_new_union(providers.data(), providers.size()));
    gdk_clipboard_set_content(clipboard(), m_provider.get());
}

bool Pasteboard::isOwner() const
{
    return m_publication != 0 || (m_provider && gdk_clipboard_get_content(clipboard()) == m_provider.get());
}

void Pasteboard::stringForType(const std::string& type, StringCompletion completion)
{
    if (isOwner()) {
        const auto entry = m_contents.find(type);
        return completion(entry == m_contents.end() ? std::nullopt
                                                    : std::optional(std::string(view(entry->second.get()))));
    }
    const auto finish = [completion = std::move(completion)](GBytesPtr bytes) {
        completion(validText(std::move(bytes)));
    };
    if (type == PasteboardType::string)
        readClipboardText(clipboard(), finish);
    else
        readClipboard(clipboard(), {objectMimeType}, finish);
}

void Pasteboard::imageAsPNG(DataCompletion completion)
{
    if (isOwner())
        return completion(nullptr);
    whenClipboardFormatsAreKnown(clipboard(), [completion = std::move(completion)](GdkContentFormats* formats) {
        readImage(imageFormats(formats), completion);
    });
}

}
