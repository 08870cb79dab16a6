#include "platform/gtk/panels/PermissionAlert.h"

#include <utility>

#include "platform/Localization.h"
#include "platform/gtk/application/Application.h"

namespace quillory::gtk {

namespace {

constexpr const char* withoutSettings = localizable(
    "This desktop offers programs no keyboard shortcuts of their own, so the global hotkey (Super+Shift+E) does not "
    "work here.\n\nYou can bind the command “quillory” to a key in the desktop's settings instead: it brings "
    "Quillory to the front.");

}

PermissionAlert::PermissionAlert(Application& application, HotkeyBackend& backend)
    : m_application(application)
    , m_backend(backend)
    , m_alert(std::make_shared<gtk::Alert>(application))
{
}

void PermissionAlert::setInformativeText(const std::string& text)
{
    // In no language at all, alerts are as the program has them.
    m_alert->setInformativeText(m_backend.canBeTrusted() || !isLocalized() ? text : localized(withoutSettings));
}

void PermissionAlert::begin(bool modal, std::function<void(int answer)> answered)
{
    m_modal = modal;
    m_answered = std::move(answered);
    m_application.keep(shared_from_this());
    update();
}

void PermissionAlert::update()
{
    if (!m_answered)
        return;
    if (m_backend.isTrusted(false)) {
        if (m_shown)
            m_alert->dismiss();
        else
            finish(0);
        return;
    }
    if (m_shown || m_backend.isAsking())
        return;
    m_shown = true;
    const auto answered = [self = shared_from_this()](int answer) { self->finish(answer); };
    if (m_modal)
        m_alert->runModal(answered);
    else
        m_alert->show(answered);
}

void PermissionAlert::finish(int answer)
{
    const auto self = shared_from_this();
    m_application.release(self);
    std::exchange(m_answered, nullptr)(answer);
}

}
