#include "hotkey/HotkeyManager.h"

#include <string>
#include <string_view>

namespace quillory {

namespace {

constexpr std::uint64_t keyDownMask = 1ULL << EventType::keyDown;
constexpr std::uint64_t examinedFlags =
    EventFlags::shift | EventFlags::control | EventFlags::option | EventFlags::command;
constexpr std::uint64_t requiredFlags = EventFlags::command | EventFlags::shift;

bool isHotkey(const TapEvent& event)
{
    return event.keyCode == keyCodeE && (event.flags & examinedFlags) == requiredFlags;
}

std::string statusLine(std::string_view label, bool value)
{
    return std::string(label) + (value ? "true" : "false");
}

}

std::shared_ptr<HotkeyManager> HotkeyManager::shared;

HotkeyManager::HotkeyManager(Platform& platform)
    : m_platform(platform)
{
}

void HotkeyManager::createEventTap()
{
    if (eventTap)
        return;
    auto tap = m_platform.makeEventTap(keyDownMask, &handleTapEvent, this);
    if (!tap) {
        m_platform.log().print("Failed to create event tap - accessibility permissions may be required");
        return;
    }
    eventTap = std::move(tap);
    runLoopSource = m_platform.makeRunLoopSource(eventTap);
    if (runLoopSource) {
        runLoopSource->addToMainRunLoop();
        eventTap->enable(true);
        m_platform.log().print("Global hotkey Cmd+Shift+E registered");
    }
}

void HotkeyManager::printStatus()
{
    auto& log = m_platform.log();
    log.print("=== HotkeyManager Status ===");
    log.print(statusLine("Accessibility trusted: ", m_platform.accessibility().isProcessTrusted()));
    log.print(statusLine("Event tap exists: ", eventTap != nullptr));
    log.print(statusLine("RunLoop source exists: ", runLoopSource != nullptr));
    if (eventTap)
        log.print(statusLine("Event tap enabled: ", eventTap->isEnabled()));
    log.print("============================");
}

void HotkeyManager::cleanup()
{
    if (permissionCheckTimer)
        permissionCheckTimer->invalidate();
    permissionCheckTimer.reset();
    if (eventTap)
        eventTap->enable(false);
    if (runLoopSource)
        runLoopSource->removeFromMainRunLoop();
    eventTap.reset();
    runLoopSource.reset();
}

void HotkeyManager::requestBringToFront()
{
    m_platform.mainQueue().async([weak = weak_from_this()] {
        const auto manager = weak.lock();
        if (manager && manager->bringToFront)
            manager->bringToFront();
    });
}

const TapEvent* handleTapEvent(void*, std::uint32_t type, const TapEvent* event, void* userData)
{
    auto& manager = *static_cast<HotkeyManager*>(userData);
    if (type == EventType::keyDown && isHotkey(*event)) {
        manager.requestBringToFront();
        return nullptr;
    }
    if (type == EventType::tapDisabledByTimeout && manager.eventTap)
        manager.eventTap->enable(true);
    return event;
}

}
