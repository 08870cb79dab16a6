#include "platform/gtk/GtkPlatform.h"

#include <gdk/wayland/gdkwayland.h>
#include <gdk/x11/gdkx.h>

#include "platform/glib/GObjectPtr.h"
#include "platform/gtk/application/RunningApplication.h"
#include "platform/gtk/application/Timer.h"
#include "platform/gtk/panels/Alert.h"
#include "platform/gtk/panels/OpenPanel.h"
#include "platform/gtk/panels/SavePanel.h"
#include "platform/gtk/web/PageRequests.h"
#include "platform/gtk/web/WebView.h"
#include "platform/gtk/window/ExportedWindow.h"
#include "platform/gtk/window/Window.h"
#include "platform/gtk/window/X11Placement.h"
#include "platform/hotkey/PortalHotkeyBackend.h"
#include "platform/hotkey/X11HotkeyBackend.h"

namespace quillory::gtk {

namespace {

std::filesystem::path iconsFolder(const Bundle& bundle)
{
    const auto resources = bundle.resourceURL();
    return resources ? resources->parent_path() / "icons" : std::filesystem::path();
}

std::filesystem::path pageFolder(const Bundle& bundle)
{
    const auto resources = bundle.resourceURL();
    return resources ? *resources / "WebContent" : std::filesystem::path();
}

// The next window that is presented takes the focus with the token. Without one it has to be known whether that
// window has the focus, and the shortcut may have been faster than the compositor's word of its going.
// A token for one window alone (gdk_toplevel_set_startup_id) goes nowhere with GTK 4.8 on Wayland.
void setActivationToken(const std::string& token)
{
    auto* display = gdk_display_get_default();
    if (token.empty())
        gdk_display_sync(display);
    else if (GDK_IS_WAYLAND_DISPLAY(display))
        gdk_wayland_display_set_startup_notification_id(display, token.c_str());
}

// The program that it is for does not matter to any compositor.
std::string makeActivationToken()
{
    const GObjectPtr<GdkAppLaunchContext> context(gdk_display_get_app_launch_context(gdk_display_get_default()));
    const GObjectPtr<GAppInfo> program(
        g_app_info_create_from_commandline("settings", nullptr, G_APP_INFO_CREATE_NONE, nullptr));
    const GStringPtr token(
        g_app_launch_context_get_startup_notify_id(G_APP_LAUNCH_CONTEXT(context.get()), program.get(), nullptr));
    return token ? token.get() : "";
}

}

GtkPlatform::GtkPlatform()
    : m_bundle(posix::InstalledBundle::ofThisProcess())
    , m_application(m_bundle.bundleIdentifier().value_or(""), iconsFolder(m_bundle), pageFolder(m_bundle))
{
}

std::optional<Screen> GtkPlatform::mainScreen()
{
    auto* display = gdk_display_get_default();
    if (display == nullptr)
        return std::nullopt;
    const GObjectPtr<GdkMonitor> monitor(mainMonitor(display));
    if (!monitor)
        return std::nullopt;
    const auto area = workArea(monitor.get());
    return Screen {{static_cast<double>(area.width), static_cast<double>(area.height)}};
}

std::vector<std::unique_ptr<quillory::RunningApplication>>
GtkPlatform::runningApplications(const std::string& bundleIdentifier)
{
    return RunningApplication::withIdentifier(bundleIdentifier);
}

std::unique_ptr<quillory::Window> GtkPlatform::makeWindow(Size contentSize, unsigned styleMask)
{
    return std::make_unique<Window>(m_application, mainScreen(), contentSize, styleMask);
}

std::unique_ptr<quillory::WebViewConfiguration> GtkPlatform::makeWebViewConfiguration()
{
    return std::make_unique<WebViewConfiguration>();
}

std::shared_ptr<quillory::WebView>
GtkPlatform::makeWebView(std::unique_ptr<quillory::WebViewConfiguration> configuration)
{
    answerPageRequests(m_pasteboard, m_printer);
    auto view = std::make_shared<WebView>(dynamic_cast<WebViewConfiguration&>(*configuration));
    m_application.setPreparationForEnd([weak = std::weak_ptr(view)](auto done) {
        if (const auto page = weak.lock())
            page->close(std::move(done));
        else
            done();
    });
    return view;
}

std::shared_ptr<quillory::SavePanel> GtkPlatform::makeSavePanel()
{
    return std::make_shared<SavePanel>(m_application);
}

std::shared_ptr<quillory::OpenPanel> GtkPlatform::makeOpenPanel()
{
    return std::make_shared<OpenPanel>(m_application);
}

std::shared_ptr<quillory::Alert> GtkPlatform::makeAlert()
{
    return std::make_shared<Alert>(m_application);
}

void GtkPlatform::inBackground(std::function<void()> work, std::function<void()> done)
{
    m_backgroundQueue.add(std::move(work), std::move(done));
}

std::unique_ptr<quillory::Timer> GtkPlatform::scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                                                            std::function<void()> block)
{
    return std::make_unique<Timer>(m_application, interval, repeats, std::move(block));
}

std::shared_ptr<EventTap> GtkPlatform::makeEventTap(std::uint64_t mask, EventTapCallback callback, void* userData)
{
    return (mask & 1ULL << EventType::keyDown) != 0 ? hotkeyBackend().makeEventTap(callback, userData) : nullptr;
}

std::shared_ptr<RunLoopSource> GtkPlatform::makeRunLoopSource(const std::shared_ptr<EventTap>& tap)
{
    return std::dynamic_pointer_cast<RunLoopSource>(tap);
}

HotkeyBackend& GtkPlatform::hotkeyBackend()
{
    if (!m_hotkeyBackend)
        m_hotkeyBackend = makeHotkeyBackend();
    return *m_hotkeyBackend;
}

std::unique_ptr<HotkeyBackend> GtkPlatform::makeHotkeyBackend()
{
    auto* display = gdk_display_get_default();
    if (GDK_IS_X11_DISPLAY(display))
        return std::make_unique<X11HotkeyBackend>(
            gdk_display_get_name(display),
            X11EventTap::Hooks {.willDeliver = [this](std::uint32_t time) { m_application.noteUserTime(time); },
                                .hasFocus = [this] { return m_application.hasFocus(); }});
    return std::make_unique<PortalHotkeyBackend>(
        m_bundle.bundleIdentifier().value_or(""),
        PortalHotkeyBackend::Hooks {
            .willDeliver = setActivationToken,
            .withActivationToken =
                [this](std::function<void(std::string)> received) {
                    m_application.whenFocused([received = std::move(received)] { received(makeActivationToken()); });
                },
            .withMainWindow =
                [this](std::function<void(std::string)> received) {
                    m_application.whenMainWindowIsShown(
                        [received = std::move(received)](GtkWindow* window) { exportWindow(window, received); });
                },
            .changed = [this] { m_accessibility.changed(); }});
}

}
