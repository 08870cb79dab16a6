#include "platform/gtk/clipboard/ImageConversion.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gdk/gdk.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>

#include "platform/glib/AsyncReady.h"
#include "platform/glib/SignalConnection.h"

namespace quillory::gtk {

namespace {

constexpr std::int64_t mostPixels = 100'000'000;

struct PixelSize {
    int width = 0;
    int height = 0;
};

// What the file's header says; nothing if that is not the header of an image.
std::optional<PixelSize> pixelSize(GBytes* file)
{
    const GObjectPtr<GdkPixbufLoader> loader(gdk_pixbuf_loader_new());
    std::optional<PixelSize> size;
    connectSignal<void(int, int)>(loader.get(), "size-prepared", [&size, &loader](int width, int height) {
        size = PixelSize {width, height};
        // The header is all that is wanted.
        gdk_pixbuf_loader_set_size(loader.get(), 0, 0);
    });
    constexpr gsize pieceSize = 4096;
    gsize length = 0;
    const auto* data = static_cast<const guchar*>(g_bytes_get_data(file, &length));
    gsize done = 0;
    bool readable = true;
    while (readable && !size && done < length) {
        const auto piece = std::min(pieceSize, length - done);
        readable = gdk_pixbuf_loader_write(loader.get(), data + done, piece, nullptr) != 0;
        done += piece;
    }
    // Some formats are looked at when all has come.
    gdk_pixbuf_loader_close(loader.get(), nullptr);
    return size;
}

bool isOfUsableSize(GBytes* file, const char* whence)
{
    const auto size = pixelSize(file);
    if (!size)
        return false;
    if (std::int64_t {size->width} * size->height <= mostPixels)
        return true;
    std::fprintf(stderr, "quillory: a picture of %d × %d pixels %s, which counts as nothing\n", size->width,
                 size->height, whence);
    return false;
}

bool hasPNGSignature(GBytes* file)
{
    constexpr std::string_view signature("\x89PNG\r\n\x1a\n", 8);
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(file, &size));
    return std::string_view(data, size).starts_with(signature);
}

struct Image {
    GBytesPtr file;
    const char* whence;
};

void convert(GTask* task, gpointer, gpointer image, GCancellable*)
{
    const auto& [owner, whence] = *static_cast<Image*>(image);
    auto* file = owner.get();
    // Decoding is the only way to know that the page will be able to.
    const GObjectPtr<GdkTexture> texture(isOfUsableSize(file, whence) ? gdk_texture_new_from_bytes(file, nullptr)
                                                                      : nullptr);
    GBytes* png = nullptr;
    if (texture)
        png = hasPNGSignature(file) ? g_bytes_ref(file) : gdk_texture_save_to_png_bytes(texture.get());
    g_task_return_pointer(task, png, [](gpointer bytes) { g_bytes_unref(static_cast<GBytes*>(bytes)); });
}

}

void convertToPNG(GBytesPtr image, const char* whence, std::function<void(GBytesPtr png)> completion)
{
    const auto converted = [completion = std::move(completion)](GObject*, GAsyncResult* result) {
        completion(GBytesPtr(static_cast<GBytes*>(g_task_propagate_pointer(G_TASK(result), nullptr))));
    };
    const GObjectPtr<GTask> task(g_task_new(nullptr, nullptr, AsyncReady::call, AsyncReady::make(converted)));
    g_task_set_task_data(task.get(), std::make_unique<Image>(Image {std::move(image), whence}).release(),
                         [](gpointer data) { const std::unique_ptr<Image> freed(static_cast<Image*>(data)); });
    g_task_run_in_thread(task.get(), convert);
}

}
