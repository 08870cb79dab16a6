#pragma once

#include <memory>
#include <utility>

#include "platform/EventTap.h"

namespace quillory {

// The part of a tap that no window system has a say in: who gets an event, and when.
class SessionEventTap : public EventTap {
public:
    SessionEventTap(EventTapCallback callback, void* userData)
        : m_callback(callback)
        , m_userData(userData)
    {
    }

    void enable(bool enabled) override { m_enabled = enabled; }
    bool isEnabled() const override { return m_enabled; }
    void setOnRunLoop(bool onRunLoop) { m_onRunLoop = onRunLoop; }

protected:
    bool delivers() const { return m_enabled && m_onRunLoop; }
    // False if the callback swallowed the event.
    bool passes(const TapEvent& event) const
    {
        return m_callback(nullptr, EventType::keyDown, &event, m_userData) != nullptr;
    }
    void tellDisabledByTimeout() const { m_callback(nullptr, EventType::tapDisabledByTimeout, nullptr, m_userData); }

private:
    EventTapCallback m_callback;
    void* m_userData;
    bool m_enabled = false;
    bool m_onRunLoop = false;
};

// GLib's main context has no modes: what is on it runs in menus and modal dialogs as well.
class SessionRunLoopSource final : public RunLoopSource {
public:
    explicit SessionRunLoopSource(std::shared_ptr<SessionEventTap> tap)
        : m_tap(std::move(tap))
    {
    }

    void addToMainRunLoop() override { m_tap->setOnRunLoop(true); }
    void removeFromMainRunLoop() override { m_tap->setOnRunLoop(false); }

    // Null for a null tap, or one of another kind.
    static std::shared_ptr<RunLoopSource> make(const std::shared_ptr<EventTap>& tap)
    {
        auto own = std::dynamic_pointer_cast<SessionEventTap>(tap);
        return own ? std::make_shared<SessionRunLoopSource>(std::move(own)) : nullptr;
    }

private:
    std::shared_ptr<SessionEventTap> m_tap;
};

}
