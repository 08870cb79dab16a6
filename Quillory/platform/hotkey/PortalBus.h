#pragma once

#include <gio/gio.h>

#include <chrono>
#include <functional>
#include <memory>

#include "platform/glib/GObjectPtr.h"

namespace quillory::PortalBus {

inline constexpr const char* name = "org.freedesktop.portal.Desktop";
inline constexpr const char* path = "/org/freedesktop/portal/desktop";

// A connection of its own: the portal ends what its client left open when that goes. Null, and a line on
// standard error, without a session bus.
GObjectPtr<GDBusConnection> connect();

void report(const GError& error);

// Calls a method of the portal; a floating `parameters` is taken. `answered` gets null if it succeeded, on the main
// context, and is called once.
void call(
    GDBusConnection* connection, const char* interface, const char* method, GVariant* parameters,
    std::function<void(const GError* error)> answered = [](const GError*) {});

// Has `received` called for a signal as long as what this returns is held, on the context that is the thread's default
// now. What is not of `type` is passed over; without a first argument to look for, `argument` is null.
using Received = std::function<void(const char* object, GVariant* parameters)>;
std::shared_ptr<void> subscribe(GDBusConnection* connection, const char* sender, const char* interface,
                                const char* signal, const char* argument, const char* type, Received received);

// A context that hears nothing but what is subscribed to while it lives, so that waiting for it runs nothing
// else of the program.
class PrivateContext {
public:
    PrivateContext();
    ~PrivateContext();
    PrivateContext(const PrivateContext&) = delete;
    PrivateContext& operator=(const PrivateContext&) = delete;

    void iterateUntil(std::chrono::steady_clock::time_point deadline, const std::function<bool()>& done);

private:
    GMainContextPtr m_context;
};

}
