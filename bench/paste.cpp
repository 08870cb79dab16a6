// What pasting a screenshot of 3840 x 2160 costs between the clipboard's bytes and the page's: a PNG
// is checked and passed on, and is not written anew.
#include <benchmark/benchmark.h>
#include <gdk/gdk.h>

#include <vector>

#include "platform/gtk/clipboard/ImageConversion.h"

namespace {

using namespace quillory;
using namespace quillory::gtk;

constexpr int width = 3840;
constexpr int height = 2160;

// Areas, gradients and some noise, as a screen has them.
GObjectPtr<GdkTexture> screenshot()
{
    std::vector<guint8> pixels(static_cast<std::size_t>(width) * height * 4);
    std::uint32_t state = 1;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            auto* pixel = &pixels[(static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x)) * 4];
            const bool photo = x > width / 2 && y > height / 2;
            state = state * 1664525 + 1013904223;
            const auto noise = photo ? static_cast<guint8>(state >> 27) : guint8 {0};
            pixel[0] = static_cast<guint8>((x / 16 + noise) & 0xFF);
            pixel[1] = static_cast<guint8>((y / 9 + noise) & 0xFF);
            pixel[2] = static_cast<guint8>((x / 240 * 16 + y / 135) & 0xFF);
            pixel[3] = 0xFF;
        }
    }
    const GBytesPtr bytes(g_bytes_new(pixels.data(), pixels.size()));
    return GObjectPtr<GdkTexture>(
        gdk_memory_texture_new(width, height, GDK_MEMORY_R8G8B8A8, bytes.get(), std::size_t {width} * 4));
}

GBytesPtr screenshotAsPNG()
{
    return GBytesPtr(gdk_texture_save_to_png_bytes(screenshot().get()));
}

// As the program does it, in its other thread.
GBytesPtr convert(GBytes* image)
{
    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop(g_main_loop_new(nullptr, FALSE),
                                                                        g_main_loop_unref);
    GBytesPtr result;
    convertToPNG(GBytesPtr(g_bytes_ref(image)), "is measured", [&](GBytesPtr png) {
        result = std::move(png);
        g_main_loop_quit(loop.get());
    });
    g_main_loop_run(loop.get());
    return result;
}

void passedOn(benchmark::State& state)
{
    const auto png = screenshotAsPNG();
    for (auto _ : state) {
        const auto result = convert(png.get());
        if (result.get() != png.get())
            return state.SkipWithError("the PNG was not passed on as it is");
    }
}

void decodedAndEncoded(benchmark::State& state)
{
    const auto png = screenshotAsPNG();
    for (auto _ : state) {
        const GObjectPtr<GdkTexture> texture(gdk_texture_new_from_bytes(png.get(), nullptr));
        const GBytesPtr result(gdk_texture_save_to_png_bytes(texture.get()));
        benchmark::DoNotOptimize(result.get());
    }
}

BENCHMARK(passedOn)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(decodedAndEncoded)->Unit(benchmark::kMillisecond)->UseRealTime();

}

BENCHMARK_MAIN();
