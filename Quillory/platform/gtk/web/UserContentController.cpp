#include "platform/gtk/web/UserContentController.h"

#include "platform/gtk/application/ColorScheme.h"
#include "platform/gtk/web/JSCValue.h"

namespace quillory::gtk {

UserContentController::UserContentController()
    : m_manager(webkit_user_content_manager_new())
{
    listenToAccentColor([this](const std::string& color) { setAccentColorOfPage(color); });
}

UserContentController::~UserContentController()
{
    listenToAccentColor(nullptr);
}

void UserContentController::addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler,
                                                    const std::string& name)
{
    const auto received = [this, handler = std::move(handler), name](::JSCValue* body) {
        auto value = std::make_shared<JSCValue>(retain(body), textFunctions(jsc_value_get_context(body)));
        handler->didReceiveScriptMessage(*this, {name, std::move(value)});
    };
    // Connected first: a page that is loaded already can post as soon as the name is registered.
    m_connections.push_back(
        connectScoped<void(::JSCValue*)>(m_manager.get(), ("script-message-received::" + name).c_str(), received));
    webkit_user_content_manager_register_script_message_handler(m_manager.get(), name.c_str(), nullptr);
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
    const auto release = [this] {
        m_textFunctions.reset();
        return false;
    };
    m_release.start(std::chrono::milliseconds::zero(), release, G_PRIORITY_LOW);
    return m_textFunctions;
}

}
