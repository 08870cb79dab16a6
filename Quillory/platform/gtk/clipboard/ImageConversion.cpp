#include "platform/gtk/clipboard/ImageConversion.h"

#include <gdk/gdk.h>

#include <cstring>
#include <string_view>

namespace quillory::gtk {

namespace {

using Completion = std::function<void(GBytesPtr png)>;

bool hasPNGSignature(GBytes* file)
{
    constexpr std::string_view signature("\x89PNG\r\n\x1a\n", 8);
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(file, &size));
    return std::string_view(data, size).starts_with(signature);
}

void convert(GTask* task, gpointer, gpointer image, GCancellable*)
{
    auto* file = static_cast<GBytes*>(image);
    // Decoding is the only way to know that the page will be able to.
    const GObjectPtr<GdkTexture> texture(gdk_texture_new_from_bytes(file, nullptr));
    GBytes* png = nullptr;
    if (texture)
        png = hasPNGSignature(file) ? g_bytes_ref(file) : gdk_texture_save_to_png_bytes(texture.get());
    g_task_return_pointer(task, png, [](gpointer bytes) { g_bytes_unref(static_cast<GBytes*>(bytes)); });
}

void converted(GObject*, GAsyncResult* result, gpointer data)
{
    const std::unique_ptr<Completion> completion(static_cast<Completion*>(data));
    (*completion)(GBytesPtr(static_cast<GBytes*>(g_task_propagate_pointer(G_TASK(result), nullptr))));
}

}

void convertToPNG(GBytesPtr image, Completion completion)
{
    auto boxed = std::make_unique<Completion>(std::move(completion));
    const GObjectPtr<GTask> task(g_task_new(nullptr, nullptr, converted, boxed.release()));
    g_task_set_task_data(task.get(), image.release(),
                         [](gpointer bytes) { g_bytes_unref(static_cast<GBytes*>(bytes)); });
    g_task_run_in_thread(task.get(), convert);
}

}
