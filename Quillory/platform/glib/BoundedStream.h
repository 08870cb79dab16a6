#pragma once

#include <gio/gio.h>

#include "platform/glib/GObjectPtr.h"

namespace quillory {

// What is read from elsewhere is no larger than this.
inline constexpr gsize mostBytes = gsize {256} << 20;

// A stream into memory, which fails when it would become larger or there is no more memory.
inline GObjectPtr<GOutputStream> makeBoundedStream()
{
    const auto grow = [](gpointer memory, gsize size) {
        return size <= mostBytes ? g_try_realloc(memory, size) : nullptr;
    };
    return GObjectPtr<GOutputStream>(g_memory_output_stream_new(nullptr, 0, grow, g_free));
}

inline constexpr auto closeBothStreams =
    static_cast<GOutputStreamSpliceFlags>(G_OUTPUT_STREAM_SPLICE_CLOSE_SOURCE | G_OUTPUT_STREAM_SPLICE_CLOSE_TARGET);

}
