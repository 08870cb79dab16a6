#include "platform/gtk/panels/PermissionAlert.h"

#include <span>
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
    present();
}

void PermissionAlert::present()
{
    // In no language at all, alerts are as the program has them.
    const bool asWritten = !isLocalized();
    m_alert->setInformativeText(asWritten || m_backend.canBeTrusted() ? m_informativeText : localized(withoutSettings));
    const int first = asWritten || m_backend.hasShortcutSettings() ? 0 : 1;
    for (const auto& title : std::span(m_buttons).subspan(static_cast<std::size_t>(first)))
        m_alert->addButtonWithTitle(title);
    const auto answered = [self = shared_from_this(), first](int answer) {
        self->finish(answer == 0 ? answer : answer + first);
    };
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
