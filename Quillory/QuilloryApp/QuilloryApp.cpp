#include "QuilloryApp/QuilloryApp.h"

#include "hotkey/HotkeyManager.h"
#include "platform/Localization.h"

namespace quillory {

QuilloryApp::QuilloryApp(Platform& platform)
    : appDelegate(AppDelegate::make(platform))
{
}

Scene QuilloryApp::body() const
{
    // The main window's menu has the command, and the delegate has the window.
    const auto showAboutWindow = [weak = std::weak_ptr(appDelegate)] {
        if (const auto delegate = weak.lock())
            delegate->showAboutWindow();
    };
    return {.commands = {{CommandGroupPlacement::newItem, {}},
                         {CommandGroupPlacement::appInfo, {{localized("About Quillory"), showAboutWindow}}}}};
}

int QuilloryApp::main(Platform& platform)
{
    HotkeyManager::shared = std::make_shared<HotkeyManager>(platform);
    HotkeyManager::shared->bringToFront = [] {
        if (const auto delegate = AppDelegate::shared)
            delegate->bringToFront();
    };
    const QuilloryApp app(platform);
    const int status = platform.application().run(*app.appDelegate, app.body());
    // Both hold objects that the platform made, and it goes before static objects do.
    AppDelegate::shared.reset();
    HotkeyManager::shared.reset();
    return status;
}

}
