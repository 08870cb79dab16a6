#include "platform/gtk/UserContentController.h"

#include "platform/gtk/JSCValue.h"

namespace quillory::gtk {

struct UserContentController::Registration {
    UserContentController& controller;
    std::shared_ptr<ScriptMessageHandler> handler;
    std::string name;
    gulong connection = 0;

    static void received(WebKitUserContentManager*, ::JSCValue* body, gpointer data)
    {
        const auto& registration = *static_cast<Registration*>(data);
        registration.handler->didReceiveScriptMessage(registration.controller,
                                                      {registration.name, std::make_shared<JSCValue>(retain(body))});
    }
};

UserContentController::UserContentController()
    : m_manager(webkit_user_content_manager_new())
{
}

UserContentController::~UserContentController()
{
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

}
