// What decoding an exported file costs: the engine's own string decoded in place, and the plain
// implementation of the unit tests, against GLib's lenient decoder on the same text.
#include <benchmark/benchmark.h>

#include "fake/PlainValue.h"
#include "platform/gtk/web/JSCValue.h"
#include "services/DataURL.h"
#include "support/StringBytes.h"

namespace {

using namespace quillory;

std::string mixedBytes(std::size_t size)
{
    std::string bytes(size, '\0');
    std::uint32_t state = 1;
    for (auto& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

// A data URL whose text is `size` long.
std::string dataURL(std::size_t size)
{
    const auto bytes = mixedBytes(size / 4 * 3);
    auto text = DataURL {"image/png", nullptr}.head();
    appendBase64(text, std::as_bytes(std::span(bytes)));
    return text;
}

void count(benchmark::State& state, const std::string& text)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
}

void decodeDataURLPayload(benchmark::State& state, const Text& text)
{
    for (auto _ : state) {
        const auto bytes = quillory::decodeDataURLPayload(text);
        if (!bytes)
            return state.SkipWithError("the text was refused");
        benchmark::DoNotOptimize(bytes->span().data());
    }
}

void engineText(benchmark::State& state)
{
    const auto text = dataURL(static_cast<std::size_t>(state.range(0)));
    const GObjectPtr<JSCContext> context(jsc_context_new());
    const GBytesPtr bytes(g_bytes_new_static(text.data(), text.size()));
    const gtk::JSCText value(GObjectPtr<::JSCValue>(jsc_value_new_string_from_bytes(context.get(), bytes.get())),
                             std::make_shared<gtk::JSCTextFunctions>(context.get()));
    decodeDataURLPayload(state, value);
    count(state, text);
}

void plainText(benchmark::State& state)
{
    const auto text = dataURL(static_cast<std::size_t>(state.range(0)));
    decodeDataURLPayload(state, fake::PlainText(text));
    count(state, text);
}

void glib(benchmark::State& state)
{
    const auto text = dataURL(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        gsize size = 0;
        const std::unique_ptr<guchar, FreedBy<g_free>> bytes(g_base64_decode(text.c_str() + text.find(',') + 1, &size));
        benchmark::DoNotOptimize(bytes.get());
    }
    count(state, text);
}

constexpr std::int64_t mebibyte = 1 << 20;

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("bytes")->Arg(mebibyte)->Arg(16 * mebibyte)->Arg(64 * mebibyte)->Unit(benchmark::kMillisecond);
}

BENCHMARK(engineText)->Apply(sizes);
BENCHMARK(plainText)->Apply(sizes);
BENCHMARK(glib)->Apply(sizes);

}

BENCHMARK_MAIN();
