#pragma once

#include <cstdint>

namespace quillory {

namespace EventType {
inline constexpr std::uint32_t keyDown = 10;
inline constexpr std::uint32_t tapDisabledByTimeout = 0xFFFFFFFE;
}

namespace EventFlags {
inline constexpr std::uint64_t shift = 0x20000;
inline constexpr std::uint64_t control = 0x40000;
inline constexpr std::uint64_t option = 0x80000;
inline constexpr std::uint64_t command = 0x100000;
}

// The key in the E position of the keyboard, whatever its layout puts there.
inline constexpr std::int64_t keyCodeE = 14;

// One key press of the session. Key codes and flags are those named above; a platform translates.
struct TapEvent {
    std::int64_t keyCode = 0;
    std::uint64_t flags = 0;
};

// Called on the main thread. Returns the event to let it pass to the focused application, or null to
// swallow it. `proxy` is of no use to the program.
using EventTapCallback = const TapEvent* (*)(void* proxy, std::uint32_t type, const TapEvent* event, void* userData);

// What delivers a tap's events once it is on the main run loop. Main thread only.
class RunLoopSource {
public:
    virtual ~RunLoopSource() = default;
    // In the common modes: also while a menu is open or a modal alert runs.
    virtual void addToMainRunLoop() = 0;
    virtual void removeFromMainRunLoop() = 0;
};

// A watch on the key presses of the whole session. Releasing the last reference gives up whatever it
// holds of the window system, enabled or not. Main thread only.
class EventTap {
public:
    virtual ~EventTap() = default;
    virtual void enable(bool enabled) = 0;
    virtual bool isEnabled() const = 0;
};

}
