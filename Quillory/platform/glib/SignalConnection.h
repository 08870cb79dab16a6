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
// signal's C callback without the object and the user data. Returns the identifier of the handler.
template<typename Signature> gulong connectSignal(gpointer object, const char* signal, std::function<Signature> handler)
{
    using Box = BoxedFunction<Signature>;
    const auto free = [](gpointer box, GClosure*) { Box::free(box); };
    return g_signal_connect_data(object, signal, G_CALLBACK(&SignalCallback<Signature>::call),
                                 Box::make(std::move(handler)), free, G_CONNECT_DEFAULT);
}

// A handler that is called no longer than this lives, for an object that may live longer, or go first.
class SignalConnection {
public:
    SignalConnection() = default;
    SignalConnection(gpointer object, gulong handler)
        : m_emitter(std::make_unique<Emitter>(object))
        , m_handler(handler)
    {
    }
    ~SignalConnection() { disconnect(); }
    SignalConnection(SignalConnection&&) = default;
    SignalConnection& operator=(SignalConnection&& other) noexcept
    {
        disconnect();
        m_emitter = std::move(other.m_emitter);
        m_handler = other.m_handler;
        return *this;
    }

    // Also while the handler runs, which is freed when it returns.
    void disconnect()
    {
        const auto emitter = std::move(m_emitter);
        if (emitter && emitter->object != nullptr && g_signal_handler_is_connected(emitter->object, m_handler) != 0)
            g_signal_handler_disconnect(emitter->object, m_handler);
    }

private:
    // Null once the object is gone.
    struct Emitter {
        explicit Emitter(gpointer emitter)
            : object(emitter)
        {
            g_object_add_weak_pointer(G_OBJECT(object), &object);
        }
        ~Emitter()
        {
            if (object != nullptr)
                g_object_remove_weak_pointer(G_OBJECT(object), &object);
        }
        Emitter(const Emitter&) = delete;
        Emitter& operator=(const Emitter&) = delete;

        gpointer object;
    };

    std::unique_ptr<Emitter> m_emitter;
    gulong m_handler = 0;
};

template<typename Signature>
[[nodiscard]] SignalConnection connectScoped(gpointer object, const char* signal, std::function<Signature> handler)
{
    return {object, connectSignal<Signature>(object, signal, std::move(handler))};
}

}
