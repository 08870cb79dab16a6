#include "platform/gtk/application/RunningApplication.h"

#include <gio/gio.h>

#include <algorithm>
#include <fstream>
#include <string>

#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

namespace {

constexpr int timeoutMilliseconds = 500;

// As the process began with it: the toolkit takes the launcher's out of the environment when it is loaded.
std::string variableOfLaunch(const std::string& name)
{
    std::ifstream environment("/proc/self/environ", std::ios::binary);
    for (std::string entry; std::getline(environment, entry, '\0');)
        if (entry.starts_with(name + "="))
            return entry.substr(name.size() + 1);
    return {};
}

// The launcher gave this process the right to take the focus; the window that takes it is the other's.
GVariant* launchData()
{
    GVariantDict data;
    g_variant_dict_init(&data, nullptr);
    const auto add = [&](const char* key, const std::string& value) {
        if (!value.empty() && g_utf8_validate(value.c_str(), -1, nullptr) != 0)
            g_variant_dict_insert(&data, key, "s", value.c_str());
    };
    const auto startup = variableOfLaunch("DESKTOP_STARTUP_ID");
    const auto token = variableOfLaunch("XDG_ACTIVATION_TOKEN");
    // GTK 4.8 looks for the token in the older of the two.
    add("desktop-startup-id", startup.empty() ? token : startup);
    add("activation-token", token);
    return g_variant_dict_end(&data);
}

std::string objectPath(const std::string& identifier)
{
    std::string path = "/" + identifier;
    std::ranges::replace(path, '.', '/');
    std::ranges::replace(path, '-', '_');
    return path;
}

// The answer of somebody on the session bus to a call, of which `arguments` may be floating; null for none.
GVariantPtr call(const char* name, const char* path, const char* interface, const char* method, GVariant* arguments,
                 const char* answerType, GDBusCallFlags flags)
{
    const GVariantPtr parameters(g_variant_ref_sink(arguments));
    const GObjectPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (!bus)
        return nullptr;
    return GVariantPtr(g_dbus_connection_call_sync(bus.get(), name, path, interface, method, parameters.get(),
                                                   G_VARIANT_TYPE(answerType), flags, timeoutMilliseconds, nullptr,
                                                   nullptr));
}

}

std::vector<std::unique_ptr<quillory::RunningApplication>>
RunningApplication::withIdentifier(const std::string& identifier)
{
    std::vector<std::unique_ptr<quillory::RunningApplication>> applications;
    const auto answer = call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
                             g_variant_new("(s)", identifier.c_str()), "(b)", G_DBUS_CALL_FLAGS_NONE);
    gboolean hasOwner = FALSE;
    if (answer)
        g_variant_get(answer.get(), "(b)", &hasOwner);
    if (hasOwner != 0)
        applications.push_back(std::make_unique<RunningApplication>(identifier));
    return applications;
}

void RunningApplication::activate()
{
    call(m_identifier.c_str(), objectPath(m_identifier).c_str(), "org.freedesktop.Application", "Activate",
         g_variant_new("(@a{sv})", launchData()), "()", G_DBUS_CALL_FLAGS_NO_AUTO_START);
}

}
