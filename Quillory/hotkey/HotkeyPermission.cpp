#include "hotkey/HotkeyManager.h"
#include "platform/Localization.h"

namespace quillory {

namespace {

using namespace std::chrono_literals;

constexpr auto pollingInterval = 2s;

}

void HotkeyManager::setupHotkey()
{
    if (m_platform.accessibility().isProcessTrustedWithOptions(true)) {
        createEventTap();
        return;
    }
    m_platform.log().print("Accessibility permissions required for global hotkey.");
    showPermissionAlertIfNeeded();
    startPermissionPolling();
}

void HotkeyManager::showPermissionAlertIfNeeded()
{
    if (hasShownPermissionAlert)
        return;
    hasShownPermissionAlert = true;
    m_platform.mainQueue().async([self = shared_from_this()] { self->showPermissionAlert(); });
}

void HotkeyManager::showPermissionAlert()
{
    const auto alert = m_platform.accessibility().makePermissionAlert();
    alert->setMessageText(localized("Accessibility Permission Required"));
    alert->setInformativeText(
        localized("Quillory needs Accessibility permission to enable the global hotkey (Cmd+Shift+E).\n\n"
                  "Please enable Quillory in:\nSystem Settings → Privacy & Security → Accessibility"));
    alert->setAlertStyle(AlertStyle::informational);
    alert->addButtonWithTitle(localized("Open System Settings"));
    alert->addButtonWithTitle(localized("Later"));
    alert->runModal([&platform = m_platform](int answer) {
        if (answer == alertFirstButtonReturn)
            platform.sharedWorkspace().openURL(accessibilitySettingsURL);
    });
}

void HotkeyManager::startPermissionPolling()
{
    if (permissionCheckTimer)
        permissionCheckTimer->invalidate();
    const auto check = [weak = weak_from_this()] {
        const auto manager = weak.lock();
        if (manager && manager->permissionCheckTimer)
            manager->checkPermission();
    };
    permissionCheckTimer = m_platform.scheduleTimer(pollingInterval, true, check);
    // Where the desktop tells of it, nobody has to wait for the next look.
    m_platform.accessibility().whenTrusted(check);
}

void HotkeyManager::checkPermission()
{
    const bool trusted = m_platform.accessibility().isProcessTrusted();
    m_platform.log().print(std::string("Checking accessibility permission: ") + (trusted ? "true" : "false"));
    if (!trusted)
        return;
    if (permissionCheckTimer)
        permissionCheckTimer->invalidate();
    permissionCheckTimer.reset();
    createEventTap();
    m_platform.log().print("Accessibility permission granted - hotkey now active");
}

}
