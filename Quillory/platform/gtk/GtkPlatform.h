#pragma once

#include "platform/Platform.h"
#include "platform/gtk/application/Accessibility.h"
#include "platform/gtk/application/Application.h"
#include "platform/gtk/application/BackgroundQueue.h"
#include "platform/gtk/application/MainQueue.h"
#include "platform/gtk/application/Workspace.h"
#include "platform/gtk/clipboard/Pasteboard.h"
#include "platform/gtk/web/DocumentPrinter.h"
#include "platform/hotkey/HotkeyBackend.h"
#include "platform/posix/InstalledBundle.h"
#include "platform/posix/StandardLog.h"

namespace quillory::gtk {

// The desktop through GTK and WebKitGTK.
class GtkPlatform final : public Platform {
public:
    GtkPlatform();

    Log& log() override { return m_log; }
    quillory::MainQueue& mainQueue() override { return m_mainQueue; }
    Bundle& mainBundle() override { return m_bundle; }
    quillory::Application& application() override { return m_application; }
    quillory::Pasteboard& generalPasteboard() override { return m_pasteboard; }
    quillory::Workspace& sharedWorkspace() override { return m_workspace; }
    quillory::Accessibility& accessibility() override { return m_accessibility; }

    std::optional<Screen> mainScreen() override;
    std::vector<std::unique_ptr<quillory::RunningApplication>>
    runningApplications(const std::string& bundleIdentifier) override;

    std::unique_ptr<quillory::Window> makeWindow(Size contentSize, unsigned styleMask) override;
    std::unique_ptr<quillory::WebViewConfiguration> makeWebViewConfiguration() override;
    std::shared_ptr<quillory::WebView>
    makeWebView(std::unique_ptr<quillory::WebViewConfiguration> configuration) override;
    std::shared_ptr<quillory::SavePanel> makeSavePanel() override;
    std::shared_ptr<quillory::OpenPanel> makeOpenPanel() override;
    std::shared_ptr<quillory::Alert> makeAlert() override;

    void inBackground(std::function<void()> work, std::function<void()> done) override;
    std::unique_ptr<quillory::Timer> scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                                                   std::function<void()> block) override;
    std::shared_ptr<EventTap> makeEventTap(std::uint64_t mask, EventTapCallback callback, void* userData) override;
    std::shared_ptr<RunLoopSource> makeRunLoopSource(const std::shared_ptr<EventTap>& tap) override;

private:
    // Made when it is first needed: the display is known then.
    HotkeyBackend& hotkeyBackend();
    std::unique_ptr<HotkeyBackend> makeHotkeyBackend();

    posix::StandardLog m_log;
    posix::InstalledBundle m_bundle;
    MainQueue m_mainQueue;
    BackgroundQueue m_backgroundQueue;
    DocumentPrinter m_printer {m_backgroundQueue};
    Application m_application;
    Pasteboard m_pasteboard;
    std::unique_ptr<HotkeyBackend> m_hotkeyBackend;
    Accessibility m_accessibility {m_application, [this]() -> HotkeyBackend& { return hotkeyBackend(); }};
    Workspace m_workspace {[this]() -> HotkeyBackend& { return hotkeyBackend(); }};
};

}
