#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/hotkey/PortalSession.h"
#include "platform/hotkey/SessionEventTap.h"

namespace quillory {

// The hotkey as the compositor recognises it: a press of the portal's shortcut is told as a key press
// of the chord. The compositor has swallowed it by then, whatever the callback answers.
class PortalEventTap final : public SessionEventTap {
public:
    using WillDeliver = std::function<void(std::string activationToken)>;

    // Takes the session's presses until it goes, and closes the session then.
    PortalEventTap(std::shared_ptr<PortalSession> session, EventTapCallback callback, void* userData,
                   WillDeliver willDeliver);
    ~PortalEventTap() override;

private:
    std::shared_ptr<PortalSession> m_session;
};

}
