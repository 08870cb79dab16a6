#pragma once

#include <glib-object.h>

#include <functional>
#include <memory>
#include <utility>

#include "platform/glib/Guarded.h"

namespace quillory {

// A function for a C library that takes a callback, its data, and what frees the data when the callback is
// called no more. The data is the function, in a box:
//     g_idle_add_full(priority, callback, BoxedFunction<void()>::make(work), BoxedFunction<void()>::free);
template<typename Signature> struct BoxedFunction {
    using Function = std::function<Signature>;

    static gpointer make(Function function) { return std::make_unique<Function>(std::move(function)).release(); }
    // What to call from the callback.
    static auto of(gpointer box)
    {
        return [&function = *static_cast<const Function*>(box)]<typename... Arguments>(Arguments&&... arguments) {
            return guarded(function, std::forward<Arguments>(arguments)...);
        };
    }
    static Function take(gpointer box) { return std::move(*owned(box)); }
    static void free(gpointer box) { owned(box); }

    // For a callback that has no arguments but the data, and is called once.
    static gboolean callOnce(gpointer box)
    {
        of(box)();
        return G_SOURCE_REMOVE;
    }

private:
    static std::unique_ptr<Function> owned(gpointer box)
    {
        return std::unique_ptr<Function>(static_cast<Function*>(box));
    }
};

}
