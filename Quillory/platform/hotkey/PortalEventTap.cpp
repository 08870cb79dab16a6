#include "platform/hotkey/PortalEventTap.h"

#include <utility>

namespace quillory {

PortalEventTap::PortalEventTap(std::shared_ptr<PortalSession> session, EventTapCallback callback, void* userData,
                               WillDeliver willDeliver)
    : SessionEventTap(callback, userData)
    , m_session(std::move(session))
{
    m_session->activated = [this, willDeliver = std::move(willDeliver)](std::string token) {
        if (!delivers())
            return;
        willDeliver(std::move(token));
        passes();
    };
}

PortalEventTap::~PortalEventTap()
{
    m_session->activated = nullptr;
    m_session->close();
}

}
