#include "platform/gtk/RunningApplication.h"

#include <giomm/dbusconnection.h>
#include <giomm/init.h>

#include <algorithm>
#include <cstdlib>

namespace quillory::gtk {

namespace {

constexpr int timeoutMilliseconds = 500;

// The launcher gave this process the right to take the focus; the window that takes it is the other's.
std::map<Glib::ustring, Glib::VariantBase> launchData()
{
    std::map<Glib::ustring, Glib::VariantBase> data;
    const auto add = [&](const char* key, const char* variable) {
        if (const char* value = std::getenv(variable); value != nullptr && *value != '\0')
            data[key] = Glib::Variant<Glib::ustring>::create(value);
    };
    add("desktop-startup-id", "DESKTOP_STARTUP_ID");
    add("activation-token", "XDG_ACTIVATION_TOKEN");
    return data;
}

std::string objectPath(const std::string& identifier)
{
    std::string path = "/" + identifier;
    std::ranges::replace(path, '.', '/');
    std::ranges::replace(path, '-', '_');
    return path;
}

}

std::vector<std::unique_ptr<quillory::RunningApplication>>
RunningApplication::withIdentifier(const std::string& identifier)
{
    std::vector<std::unique_ptr<quillory::RunningApplication>> applications;
    // This process ends here and never starts the toolkit, which would do it.
    Gio::init();
    try {
        const auto answer = Gio::DBus::Connection::get_sync(Gio::DBus::BusType::SESSION)
                                ->call_sync("/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
                                            Glib::Variant<std::tuple<Glib::ustring>>::create({identifier}),
                                            "org.freedesktop.DBus", timeoutMilliseconds);
        Glib::Variant<bool> hasOwner;
        answer.get_child(hasOwner, 0);
        if (hasOwner.get())
            applications.push_back(std::make_unique<RunningApplication>(identifier));
    } catch (const Glib::Error&) {
    }
    return applications;
}

void RunningApplication::activate()
{
    try {
        Gio::DBus::Connection::get_sync(Gio::DBus::BusType::SESSION)
            ->call_sync(objectPath(m_identifier), "org.freedesktop.Application", "Activate",
                        Glib::Variant<std::tuple<std::map<Glib::ustring, Glib::VariantBase>>>::create({launchData()}),
                        m_identifier, timeoutMilliseconds, Gio::DBus::CallFlags::NO_AUTO_START);
    } catch (const Glib::Error&) {
    }
}

}
