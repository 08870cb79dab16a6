#include "platform/gtk/clipboard/Pasteboard.h"

#include <vector>

#include "platform/glib/BoxedFunction.h"
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

std::vector<std::string> mimeTypes(const std::string& type)
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
    using Holder = BoxedFunction<void()>;
    const auto string = std::make_shared<const std::string>(text->utf8());
    return GBytesPtr(
        g_bytes_new_with_free_func(string->data(), string->size(), Holder::free, Holder::make([string] {})));
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

class OwnReading final : public PasteboardReading {
public:
    explicit OwnReading(std::shared_ptr<const Pasteboard::Contents> contents)
        : m_contents(std::move(contents))
    {
    }

    void stringForType(const std::string& type, StringCompletion completion) override
    {
        const auto entry = m_contents->find(type);
        completion(entry == m_contents->end() ? std::nullopt : std::optional(std::string(view(entry->second.get()))));
    }
    void imageAsPNG(DataCompletion completion) override { completion(nullptr); }

private:
    std::shared_ptr<const Pasteboard::Contents> m_contents;
};

class ForeignReading final : public PasteboardReading {
public:
    void stringForType(const std::string& type, StringCompletion completion) override
    {
        m_reader->read(mimeTypes(type), [completion = std::move(completion)](GBytesPtr bytes) {
            completion(validText(std::move(bytes)));
        });
    }

    void imageAsPNG(DataCompletion completion) override
    {
        m_reader->whenFormatsAreKnown(
            [reader = m_reader, completion = std::move(completion)](GdkContentFormats* formats) {
                readImage(reader, imageFormats(formats), completion);
            });
    }

private:
    // Tries one offered format after the other until one of them is an image.
    static void readImage(const std::shared_ptr<ClipboardReader>& reader, std::vector<std::string> formats,
                          const DataCompletion& completion)
    {
        if (formats.empty())
            return completion(nullptr);
        const auto format = formats.front();
        formats.erase(formats.begin());
        const auto tryNext = [reader, formats = std::move(formats), completion] {
            readImage(reader, formats, completion);
        };
        reader->read({format}, [tryNext, completion](GBytesPtr bytes) {
            if (!bytes)
                return tryNext();
            convertToPNG(std::move(bytes), "is on the clipboard", [tryNext, completion](GBytesPtr png) {
                if (!png)
                    return tryNext();
                completion(std::make_shared<GlibBytes>(std::move(png)));
            });
        });
    }

    std::shared_ptr<ClipboardReader> m_reader = std::make_shared<ClipboardReader>(clipboard());
};

}

void Pasteboard::clearContents()
{
    m_contents = std::make_shared<Contents>();
    m_picture.reset();
    schedulePublication();
}

void Pasteboard::offerPicture(std::function<void(bool)> wanted)
{
    if (!isOwner())
        return wanted(false);
    m_picture = std::make_unique<PictureOffer>(std::move(wanted));
    schedulePublication();
}

void Pasteboard::setPicture(GBytesPtr png)
{
    if (m_picture)
        m_picture->deliver(std::move(png));
}

void Pasteboard::setString(const TextHandle& text, const std::string& type)
{
    if (text != m_lastText) {
        m_lastBytes = copyOf(text);
        m_lastText = text;
    }
    (*m_contents)[type] = GBytesPtr(g_bytes_ref(m_lastBytes.get()));
    schedulePublication();
}

// Other programs see one change of owner, not one for each type.
void Pasteboard::schedulePublication()
{
    const auto publishOnce = [this] {
        publish();
        return false;
    };
    m_publication.start(std::chrono::milliseconds::zero(), publishOnce, G_PRIORITY_HIGH);
}

void Pasteboard::publish()
{
    m_lastText.reset();
    m_lastBytes.reset();
    std::vector<GdkContentProvider*> providers;
    for (const auto& [type, bytes] : *m_contents) {
        for (const auto& mimeType : mimeTypes(type))
            providers.push_back(gdk_content_provider_new_for_bytes(mimeType.c_str(), bytes.get()));
    }
    if (m_picture)
        providers.push_back(GDK_CONTENT_PROVIDER(g_object_ref(m_picture->provider())));
    m_provider.reset(gdk_content_provider_new_union(providers.data(), providers.size()));
    m_changed = connectScoped<void()>(clipboard(), "changed", [this] {
        if (isOwner())
            return;
        m_contents = std::make_shared<Contents>();
        m_picture.reset();
        m_provider.reset();
    });
    gdk_clipboard_set_content(clipboard(), m_provider.get());
}

bool Pasteboard::isOwner() const
{
    return m_publication.isUnderWay() || (m_provider && gdk_clipboard_get_content(clipboard()) == m_provider.get());
}

std::shared_ptr<PasteboardReading> Pasteboard::read()
{
    if (isOwner())
        return std::make_shared<OwnReading>(m_contents);
    return std::make_shared<ForeignReading>();
}

}
