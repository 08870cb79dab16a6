#include "platform/gtk/web/UserContentController.h"

#include "platform/glib/Guarded.h"
#include "platform/gtk/application/AccentColor.h"
#include "platform/gtk/web/JSCValue.h"

namespace quillory::gtk {

struct UserContentController::Registration {
    UserContentController& controller;
    std::shared_ptr<ScriptMessageHandler> handler;
    std::string name;
    gulong connection = 0;

    static void received(WebKitUserContentManager*, ::JSCValue* body, gpointer data)
    {
        const auto& registration = *static_cast<Registration*>(data);
        auto& controller = registration.controller;
        auto value = std::make_shared<JSCValue>(retain(body), controller.textFunctions(jsc_value_get_context(body)));
        guarded([&] {
            registration.handler->didReceiveScriptMessage(controller, {registration.name, std::move(value)});
        });
    }
};

UserContentController::UserContentController()
    : m_manager(webkit_user_content_manager_new())
{
    listenToAccentColor([this](const std::string& color) { setAccentColorOfPage(color); });
}

UserContentController::~UserContentController()
{
    listenToAccentColor(nullptr);
    for (const auto& registration : m_registrations)
        g_signal_handler_disconnect(m_manager.get(), registration->connection);
}

void UserContentController::addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler,
                                                    const std::string& name)
{
    auto registration = std::make_unique<Registration>(Registration {*this, std::move(handler), name});
    // Connected first: a page that is loaded already can post as soon as the name is registered.
    registration->connection = g_signal_connect(m_manager.get(), ("script-message-received::" + name).c_str(),
                                                G_CALLBACK(Registration::received), registration.get());
    webkit_user_content_manager_register_script_message_handler(m_manager.get(), name.c_str(), nullptr);
    m_registrations.push_back(std::move(registration));
}

void UserContentController::setAccentColorOfPage(const std::string& color)
{
    webkit_user_content_manager_remove_all_style_sheets(m_manager.get());
    if (color.empty())
        return;
    auto* style = webkit_user_style_sheet_new((":root { --desktop-accent: " + color + "; }").c_str(),
                                              WEBKIT_USER_CONTENT_INJECT_TOP_FRAME, WEBKIT_USER_STYLE_LEVEL_USER,
                                              nullptr, nullptr);
    webkit_user_content_manager_add_style_sheet(m_manager.get(), style);
    webkit_user_style_sheet_unref(style);
}

std::shared_ptr<JSCTextFunctions> UserContentController::textFunctions(JSCContext* context)
{
    if (m_textFunctions && m_textFunctions->context() == context)
        return m_textFunctions;
    m_textFunctions = std::make_shared<JSCTextFunctions>(context);
    const auto release = [](gpointer controller) -> gboolean {
        static_cast<UserContentController*>(controller)->m_textFunctions.reset();
        return G_SOURCE_REMOVE;
    };
    m_release.reset(g_idle_source_new());
    g_source_set_priority(m_release.get(), G_PRIORITY_LOW);
    g_source_set_callback(m_release.get(), release, this, nullptr);
    g_source_attach(m_release.get(), nullptr);
    return m_textFunctions;
}

}
