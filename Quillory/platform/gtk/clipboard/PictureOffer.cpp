#include "platform/gtk/clipboard/PictureOffer.h"

#include <utility>

#include "platform/glib/AsyncReady.h"

namespace quillory::gtk {

namespace {

constexpr std::chrono::seconds patience {10};

}

// The clipboard's view of an offer, which it may outlive.
struct OfferedPicture {
    GdkContentProvider parent;
    PictureOffer* offer;

    static GType type();

    static void prepare(gpointer type, gpointer)
    {
        auto* provider = GDK_CONTENT_PROVIDER_CLASS(type);
        provider->ref_formats = [](GdkContentProvider*) {
            const char* png = "image/png";
            return gdk_content_formats_new(&png, 1);
        };
        provider->write_mime_type_async = write;
        provider->write_mime_type_finish = [](GdkContentProvider*, GAsyncResult* result, GError** error) {
            return g_task_propagate_boolean(G_TASK(result), error);
        };
    }

    static void write(GdkContentProvider* provider, const char*, GOutputStream* stream, int priority,
                      GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data)
    {
        GObjectPtr<GTask> task(g_task_new(provider, cancellable, callback, data));
        g_task_set_priority(task.get(), priority);
        guarded([&] {
            if (auto* offer = reinterpret_cast<OfferedPicture*>(provider)->offer)
                offer->ask({std::move(task), retain(stream)});
            else
                g_task_return_new_error(task.get(), G_IO_ERROR, G_IO_ERROR_NOT_FOUND, "The picture is gone");
        });
    }
};

GType OfferedPicture::type()
{
    static const GType type = g_type_register_static_simple(
        GDK_TYPE_CONTENT_PROVIDER, "QuilloryOfferedPicture", sizeof(GdkContentProviderClass), prepare,
        sizeof(OfferedPicture), nullptr, static_cast<GTypeFlags>(0));
    return type;
}

PictureOffer::PictureOffer(std::function<void(bool)> wanted)
    : m_provider(GDK_CONTENT_PROVIDER(g_object_new(OfferedPicture::type(), nullptr)))
    , m_wanted(std::move(wanted))
{
    reinterpret_cast<OfferedPicture*>(m_provider.get())->offer = this;
}

PictureOffer::~PictureOffer()
{
    reinterpret_cast<OfferedPicture*>(m_provider.get())->offer = nullptr;
    refuseAll();
    if (const auto wanted = std::exchange(m_wanted, nullptr))
        wanted(false);
}

void PictureOffer::ask(Asked asked)
{
    if (m_png)
        return write(std::move(asked));
    m_asked.push_back(std::move(asked));
    m_patience.start(patience, [this] {
        refuseAll();
        return false;
    });
    if (const auto wanted = std::exchange(m_wanted, nullptr))
        wanted(true);
}

void PictureOffer::deliver(GBytesPtr png)
{
    m_png = std::move(png);
    for (auto& asked : std::exchange(m_asked, {}))
        write(std::move(asked));
}

void PictureOffer::write(Asked asked) const
{
    gsize size = 0;
    const auto* data = g_bytes_get_data(m_png.get(), &size);
    auto* stream = asked.stream.get();
    const auto priority = g_task_get_priority(asked.task.get());
    const std::shared_ptr<GBytes> held(g_bytes_ref(m_png.get()), g_bytes_unref);
    const std::shared_ptr<GTask> task(std::move(asked.task));
    const auto written = [held, task](GObject* source, GAsyncResult* result) {
        GError* error = nullptr;
        if (g_output_stream_write_all_finish(G_OUTPUT_STREAM(source), result, nullptr, &error) != 0)
            g_task_return_boolean(task.get(), TRUE);
        else
            g_task_return_error(task.get(), error);
    };
    g_output_stream_write_all_async(stream, data, size, priority, g_task_get_cancellable(task.get()), AsyncReady::call,
                                    AsyncReady::make(written));
}

void PictureOffer::refuseAll()
{
    for (const auto& [task, stream] : std::exchange(m_asked, {}))
        g_task_return_new_error(task.get(), G_IO_ERROR, G_IO_ERROR_TIMED_OUT, "The picture has not come");
}

}
