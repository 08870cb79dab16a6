#pragma once

#include <glib-object.h>

#include <functional>
#include <memory>
#include <utility>

#include "platform/glib/BoxedFunction.h"

namespace quillory {

template<typename Signature> struct SignalCallback;

template<typename Result, typename... Arguments> struct SignalCallback<Result(Arguments...)> {
    static Result call(gpointer, Arguments... arguments, gpointer box)
    {
        return BoxedFunction<Result(Arguments...)>::of(box)(arguments...);
    }
};

// Has `handler` called for a signal of the object, as long as the object lives. `Signature` is that of the
// signal's C callback without the object and the user data. Returns the closure, which the object owns.
template<typename Signature>
GClosure* connectSignal(gpointer object, const char* signal, std::function<Signature> handler)
{
    using Box = BoxedFunction<Signature>;
    const auto free = [](gpointer box, GClosure*) { Box::free(box); };
    auto* closure = g_cclosure_new(G_CALLBACK(&SignalCallback<Signature>::call), Box::make(std::move(handler)), free);
    g_signal_connect_closure(object, signal, closure, FALSE);
    return closure;
}

// A handler that is called no longer than this lives, for an object that may live longer, or go first. To be ended
// also while the handler runs, which is freed when it returns.
struct SignalDisconnect {
    void operator()(GClosure* closure) const
    {
        g_closure_invalidate(closure);
        g_closure_unref(closure);
    }
};
using SignalConnection = std::unique_ptr<GClosure, SignalDisconnect>;

template<typename Signature>
[[nodiscard]] SignalConnection connectScoped(gpointer object, const char* signal, std::function<Signature> handler)
{
    return SignalConnection(g_closure_ref(connectSignal<Signature>(object, signal, std::move(handler))));
}

}
