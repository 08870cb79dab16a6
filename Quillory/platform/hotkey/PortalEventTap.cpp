#include "platform/hotkey/PortalEventTap.h"

#include <utility>

namespace quillory {

PortalEventTap::PortalEventTap(std::shared_ptr<PortalSession> session, EventTapCallback callback, void* userData,
                               WillDeliver willDeliver)
    : SessionEventTap(callback, userData)
    , m_session(std::move(session))
    , m_willDeliver(std::move(willDeliver))
{
    m_session->activated = [this](std::string token) { deliver(std::move(token)); };
}

PortalEventTap::~PortalEventTap()
{
    m_session->activated = nullptr;
    m_session->close();
}

void PortalEventTap::deliver(std::string activationToken)
{
    if (!delivers())
        return;
    if (m_willDeliver)
        m_willDeliver(std::move(activationToken));
    passes(TapEvent {keyCodeE, EventFlags::command | EventFlags::shift});
}

}
