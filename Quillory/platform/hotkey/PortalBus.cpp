#include "platform/hotkey/PortalBus.h"

#include <algorithm>
#include <iostream>
#include <limits>
#include <utility>

#include "platform/glib/BoxedFunction.h"

namespace quillory::PortalBus {

namespace {

using Answered = BoxedFunction<void(const GError* error)>;
using ReceivedBox = BoxedFunction<void(const char* path, GVariant* parameters)>;

// A dialog may stay open for as long as the user likes.
constexpr int noTimeout = std::numeric_limits<int>::max();

void callAnswered(GObject* connection, GAsyncResult* result, gpointer box)
{
    const auto answered = Answered::take(box);
    GError* error = nullptr;
    const GVariantPtr reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, &error));
    const GErrorPtr owner(error);
    if (answered)
        guarded(answered, error);
}

void signalReceived(GDBusConnection*, const char*, const char* object, const char*, const char*, GVariant* parameters,
                    gpointer box)
{
    ReceivedBox::of(box)(object, parameters);
}

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
    g_main_context_push_thread_default(g_main_context_default());
    g_dbus_connection_call(connection, name, path, interface, method, parameters, nullptr, G_DBUS_CALL_FLAGS_NONE,
                           noTimeout, nullptr, callAnswered, Answered::make(std::move(answered)));
    g_main_context_pop_thread_default(g_main_context_default());
}

Subscription::Subscription(GDBusConnection* connection, const char* sender, const char* interface, const char* signal,
                           const char* argument, Received received)
    : m_connection(retain(connection))
    , m_identifier(g_dbus_connection_signal_subscribe(connection, sender, interface, signal, nullptr, argument,
                                                      G_DBUS_SIGNAL_FLAGS_NONE, signalReceived,
                                                      ReceivedBox::make(std::move(received)), ReceivedBox::free))
{
}

Subscription::~Subscription()
{
    if (m_connection)
        g_dbus_connection_signal_unsubscribe(m_connection.get(), m_identifier);
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
    const auto end = [](gpointer data) -> gboolean {
        *static_cast<bool*>(data) = true;
        return G_SOURCE_REMOVE;
    };
    g_source_set_callback(timeout.get(), end, &late, nullptr);
    g_source_attach(timeout.get(), m_context.get());
    while (!done() && !late)
        g_main_context_iteration(m_context.get(), TRUE);
}

}
