#pragma once

#include <gio/gio.h>

#include "platform/glib/BoxedFunction.h"

namespace quillory {

// A function that is called once, when an asynchronous operation is over:
//     g_input_stream_read_all_async(…, AsyncReady::call, AsyncReady::make([…](GObject* stream, GAsyncResult* result)
//     {…}));
struct AsyncReady : BoxedFunction<void(GObject* source, GAsyncResult* result)> {
    static void call(GObject* source, GAsyncResult* result, gpointer box) { guarded(take(box), source, result); }
};

}
