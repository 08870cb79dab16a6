#include "platform/hotkey/PortalHotkeyBackend.h"

#include <utility>

#include "platform/hotkey/PortalEventTap.h"
#include "platform/hotkey/SettingsProgram.h"

namespace quillory {

namespace {

// Enough for a desktop to find an earlier grant, and no noticeable delay of the launch.
constexpr std::chrono::milliseconds patience {250};

}

PortalHotkeyBackend::PortalHotkeyBackend(HotkeyBackendOptions options)
    : m_options(std::move(options))
    , m_session(std::make_shared<PortalSession>(m_options.applicationID, m_options.withMainWindow))
{
    m_session->changed = m_options.changed;
}

bool PortalHotkeyBackend::isTrusted(bool prompt)
{
    if (prompt)
        m_session->ask(patience);
    return m_session->isBound();
}

std::shared_ptr<EventTap> PortalHotkeyBackend::makeEventTap(std::uint64_t mask, EventTapCallback callback,
                                                            void* userData)
{
    if ((mask & 1ULL << EventType::keyDown) == 0 || !m_session->isBound())
        return nullptr;
    return std::make_shared<PortalEventTap>(m_session, callback, userData, m_options.willDeliverWaylandEvent);
}

std::shared_ptr<RunLoopSource> PortalHotkeyBackend::makeRunLoopSource(const std::shared_ptr<EventTap>& tap)
{
    return SessionRunLoopSource::make(tap);
}

bool PortalHotkeyBackend::hasShortcutSettings()
{
    return m_session->canConfigure() || m_session->canAskAgain() || hasSettingsProgram();
}

void PortalHotkeyBackend::openShortcutSettings()
{
    const auto open = [session = m_session, id = m_options.applicationID](const std::string& token) {
        if (session->canConfigure())
            session->configure(token);
        else if (session->canAskAgain())
            session->askAgain();
        else
            openSettingsProgram(session->isOffered() ? id : "", token);
    };
    if (m_options.withActivationToken)
        m_options.withActivationToken(open);
    else
        open("");
}

}
