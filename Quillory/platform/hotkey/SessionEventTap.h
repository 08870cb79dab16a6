#pragma once

#include "platform/EventTap.h"

namespace quillory {

// The part of a tap that no window system has a say in: who gets a press of the chord, and when. The tap is its own
// source. GLib's main context has no modes: what is on it runs in menus and modal dialogs as well.
class SessionEventTap : public EventTap, public RunLoopSource {
public:
    SessionEventTap(EventTapCallback callback, void* userData)
        : m_callback(callback)
        , m_userData(userData)
    {
    }

    void enable(bool enabled) override { m_enabled = enabled; }
    bool isEnabled() const override { return m_enabled; }
    void addToMainRunLoop() override { m_onRunLoop = true; }
    void removeFromMainRunLoop() override { m_onRunLoop = false; }

protected:
    bool delivers() const { return m_enabled && m_onRunLoop; }
    // False if the callback swallowed the press.
    bool passes() const
    {
        const TapEvent chord {keyCodeE, EventFlags::command | EventFlags::shift};
        return m_callback(nullptr, EventType::keyDown, &chord, m_userData) != nullptr;
    }
    void tellDisabledByTimeout() const { m_callback(nullptr, EventType::tapDisabledByTimeout, nullptr, m_userData); }

private:
    EventTapCallback m_callback;
    void* m_userData;
    bool m_enabled = false;
    bool m_onRunLoop = false;
};

}
