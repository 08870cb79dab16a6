#include "platform/gtk/application/Accessibility.h"

#include "platform/gtk/panels/PermissionAlert.h"

namespace quillory::gtk {

std::shared_ptr<quillory::Alert> Accessibility::makePermissionAlert()
{
    auto alert = std::make_shared<PermissionAlert>(m_application, m_hotkeyBackend());
    m_alert = alert;
    return alert;
}

void Accessibility::changed()
{
    if (const auto alert = m_alert.lock())
        alert->update();
    if (m_granted && isProcessTrusted())
        m_granted();
}

}
