#pragma once

#include <functional>
#include <memory>

#include "platform/Platform.h"

namespace quillory {

// The system-wide Command+Shift+E: watches the keys of the session, brings the application forward on
// the chord, and leads the user to the permission that watching takes. Main thread only; owned by a
// shared pointer, as what it schedules may run when it has gone.
class HotkeyManager final : public std::enable_shared_from_this<HotkeyManager> {
public:
    // The process's one manager, made by the application type.
    static std::shared_ptr<HotkeyManager> shared;

    // `platform` must outlive the manager, which stops nothing when it goes: see `cleanup`.
    explicit HotkeyManager(Platform& platform);
    HotkeyManager(const HotkeyManager&) = delete;
    HotkeyManager& operator=(const HotkeyManager&) = delete;

    // What the chord does, on a turn of the main queue of its own. May be empty.
    std::function<void()> bringToFront;

    // Once, at launch: registers the hotkey, or starts waiting for the permission.
    void setupHotkey();

    // Makes, installs and enables the tap unless there is one. A failure is one line of the log.
    void createEventTap();
    void printStatus();
    // Stops whatever is running. Harmless when nothing is.
    void cleanup();

    // The permission flow. Asks the user, once per run, to grant it in the settings.
    void showPermissionAlertIfNeeded();
    void showPermissionAlert();
    // Looks every two seconds, in place of an earlier polling.
    void startPermissionPolling();
    void checkPermission();

private:
    friend const TapEvent* handleTapEvent(void* proxy, std::uint32_t type, const TapEvent* event, void* userData);

    void requestBringToFront();

    Platform& m_platform;
    std::shared_ptr<EventTap> eventTap;
    std::shared_ptr<RunLoopSource> runLoopSource;
    std::unique_ptr<Timer> permissionCheckTimer;
    bool hasShownPermissionAlert = false;
};

// The tap's callback; `userData` is the manager. Swallows the chord and lets all else pass.
const TapEvent* handleTapEvent(void* proxy, std::uint32_t type, const TapEvent* event, void* userData);

}
