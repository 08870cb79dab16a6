#include "platform/hotkey/PortalHotkeyBackend.h"

#include <utility>

#include "platform/hotkey/PortalEventTap.h"
#include "platform/hotkey/SettingsProgram.h"

namespace quillory {

namespace {

// Enough for a desktop to find an earlier grant, and no noticeable delay of the launch.
constexpr std::chrono::milliseconds patience {250};

}

PortalHotkeyBackend::PortalHotkeyBackend(const std::string& applicationID, Hooks hooks)
    : m_applicationID(applicationID)
    , m_hooks(std::move(hooks))
    , m_session(std::make_shared<PortalSession>(applicationID, m_hooks.withMainWindow, m_hooks.changed))
{
}

bool PortalHotkeyBackend::isTrusted(bool prompt)
{
    if (prompt)
        m_session->ask(patience);
    return m_session->isBound();
}

std::shared_ptr<EventTap> PortalHotkeyBackend::makeEventTap(EventTapCallback callback, void* userData)
{
    if (!m_session->isBound())
        return nullptr;
    return std::make_shared<PortalEventTap>(m_session, callback, userData, m_hooks.willDeliver);
}

bool PortalHotkeyBackend::hasShortcutSettings()
{
    return m_session->canConfigure() || m_session->canAskAgain() || hasSettingsProgram();
}

void PortalHotkeyBackend::openShortcutSettings()
{
    m_hooks.withActivationToken([session = m_session, id = m_applicationID](const std::string& token) {
        if (session->canConfigure())
            session->configure(token);
        else if (session->canAskAgain())
            session->askAgain();
        else
            openSettingsProgram(session->isOffered() ? id : "", token);
    });
}

}
