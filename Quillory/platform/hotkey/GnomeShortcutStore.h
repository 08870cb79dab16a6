#pragma once

#include <functional>
#include <string>

#include <gio/gio.h>

#include "platform/glib/GObjectPtr.h"
#include "platform/glib/SignalConnection.h"
#include "platform/glib/Timeout.h"

namespace quillory {

// What GNOME keeps of an application's shortcuts, as a list of the type a(sa{sv}). Its portal does not say it without
// asking the user for those that it does not have. Empty on another desktop. Main thread only.
class GnomeShortcutStore {
public:
    explicit GnomeShortcutStore(const std::string& applicationID);

    explicit operator bool() const { return m_settings != nullptr; }

    // Whether `accept` accepts the list.
    bool has(const std::function<bool(GVariant* shortcuts)>& accept) const;

    // Has `changed` called on the main context once the user is done with a change. It replaces the one before.
    void watch(std::function<void()> changed);
    void stopWatching();

private:
    GObjectPtr<GSettings> m_settings; // null on another desktop
    SignalConnection m_watch;
    Timeout m_settled;
};

}
