#include "platform/hotkey/PortalBus.h"

#include <algorithm>
#include <iostream>
#include <limits>
#include <utility>

#include "platform/glib/AsyncReady.h"

namespace quillory::PortalBus {

namespace {

// A dialog may stay open for as long as the user likes.
constexpr int noTimeout = std::numeric_limits<int>::max();

}

GObjectPtr<GDBusConnection> connect()
{
    GError* error = nullptr;
    GObjectPtr<GDBusConnection> connection;
    const GStringPtr address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, &error));
    if (address) {
        constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT
                                                                 | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        connection.reset(g_dbus_connection_new_for_address_sync(address.get(), flags, nullptr, nullptr, &error));
    }
    if (const GErrorPtr owner(error); owner)
        report(*owner);
    return connection;
}

void report(const GError& error)
{
    std::cerr << "quillory: global shortcuts portal: " << error.message << std::endl;
}

void call(GDBusConnection* connection, const char* interface, const char* method, GVariant* parameters,
          std::function<void(const GError* error)> answered)
{
    const auto finish = [answered = std::move(answered)](GObject* source, GAsyncResult* result) {
        GError* error = nullptr;
        const GVariantPtr reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error));
        const GErrorPtr owner(error);
        answered(error);
    };
    g_main_context_push_thread_default(g_main_context_default());
    g_dbus_connection_call(connection, name, path, interface, method, parameters, nullptr, G_DBUS_CALL_FLAGS_NONE,
                           noTimeout, nullptr, AsyncReady::call, AsyncReady::make(finish));
    g_main_context_pop_thread_default(g_main_context_default());
}

std::shared_ptr<void> subscribe(GDBusConnection* connection, const char* sender, const char* interface,
                                const char* signal, const char* argument, const char* type, Received received)
{
    using Box = BoxedFunction<void(const char* object, GVariant* parameters)>;
    const auto receive = [](GDBusConnection*, const char*, const char* object, const char*, const char*,
                            GVariant* parameters, gpointer box) { Box::of(box)(object, parameters); };
    const auto ofType = [type, received = std::move(received)](const char* object, GVariant* parameters) {
        if (g_variant_is_of_type(parameters, G_VARIANT_TYPE(type)) != 0)
            received(object, parameters);
    };
    const auto identifier =
        g_dbus_connection_signal_subscribe(connection, sender, interface, signal, nullptr, argument,
                                           G_DBUS_SIGNAL_FLAGS_NONE, receive, Box::make(ofType), Box::free);
    return {retain(connection).release(), [identifier](GDBusConnection* held) {
                g_dbus_connection_signal_unsubscribe(held, identifier);
                g_object_unref(held);
            }};
}

PrivateContext::PrivateContext()
    : m_context(g_main_context_new())
{
    g_main_context_push_thread_default(m_context.get());
}

PrivateContext::~PrivateContext()
{
    // Ending a subscription frees its memory in the context's next turn.
    while (g_main_context_iteration(m_context.get(), FALSE) != 0) { }
    g_main_context_pop_thread_default(m_context.get());
}

void PrivateContext::iterateUntil(std::chrono::steady_clock::time_point deadline, const std::function<bool()>& done)
{
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    const GSourcePtr timeout(g_timeout_source_new(static_cast<guint>(std::max<long>(0, left.count()))));
    bool late = false;
    using End = BoxedFunction<void()>;
    g_source_set_callback(timeout.get(), End::callOnce, End::make([&late] { late = true; }), End::free);
    g_source_attach(timeout.get(), m_context.get());
    while (!done() && !late)
        g_main_context_iteration(m_context.get(), TRUE);
}

}
