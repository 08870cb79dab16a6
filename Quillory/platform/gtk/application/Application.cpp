#include "platform/gtk/application/Application.h"

#include <glib-unix.h>

#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "platform/glib/BoxedFunction.h"
#include "platform/gtk/application/ColorScheme.h"
#include "platform/gtk/application/SoftwareRendering.h"
#include "platform/gtk/web/ContentFilter.h"

namespace quillory::gtk {

namespace {

constexpr std::chrono::milliseconds longestPreparation {200};
constexpr std::chrono::milliseconds longestWaitForFocus {500};
constexpr std::chrono::seconds longestPreparationForEnd {1};

// The engine's sandbox does not start with a cache folder that is no folder; the usual one takes its place.
void ignoreUnusableCacheFolder()
{
    const char* folder = std::getenv("XDG_CACHE_HOME");
    if (folder == nullptr)
        return;
    struct stat status { };
    const bool exists = stat(folder, &status) == 0;
    if (exists ? !S_ISDIR(status.st_mode) : errno == ENOTDIR)
        unsetenv("XDG_CACHE_HOME");
}

}

Application::Application(std::string identifier, std::filesystem::path icons, std::filesystem::path page)
    : m_identifier(g_application_id_is_valid(identifier.c_str()) != 0 ? std::move(identifier) : std::string())
    , m_icons(std::move(icons))
    , m_page(std::move(page))
{
}

int Application::run(ApplicationDelegate& delegate, const Scene& scene)
{
    m_scene = &scene;
    // Both are reported by the call that fails: a log whose reader has gone, a file over its size limit.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    delegate.applicationWillFinishLaunching();
    const int status = m_terminating ? 0 : runEventLoop(delegate);
    delegate.applicationWillTerminate();
    return status;
}

int Application::runEventLoop(ApplicationDelegate& delegate)
{
    g_set_prgname(m_identifier.empty() ? "quillory" : m_identifier.c_str());
    ignoreUnusableCacheFolder();
    if (!gtk_init_check()) {
        std::fputs("quillory: there is no display to open a window on\n", stderr);
        return 1;
    }
    chooseRendering();
    prepareForPage();
    // The lock has decided already that this is the one instance: another process that still has the
    // name, because it is just ending, must not turn this one into its client.
    m_application.reset(
        gtk_application_new(m_identifier.empty() ? nullptr : m_identifier.c_str(), G_APPLICATION_NON_UNIQUE));
    const auto startup = connectScoped<void()>(m_application.get(), "startup", [&] {
        using Work = BoxedFunction<void()>;
        connectToBus();
        g_idle_add_full(G_PRIORITY_LOW, Work::callOnce, Work::make([this] { useIcon(); }), Work::free);
        terminateOnSignals();
        g_application_hold(G_APPLICATION(m_application.get()));
        delegate.applicationDidFinishLaunching();
    });
    bool launched = false;
    const auto activated = connectScoped<void()>(m_application.get(), "activate", [&] {
        if (std::exchange(launched, true))
            delegate.applicationShouldHandleReopen(false);
    });
    const auto windowRemoved = connectScoped<void(GtkWindow*)>(m_application.get(), "window-removed", [&](GtkWindow*) {
        if (gtk_application_get_windows(m_application.get()) == nullptr
            && delegate.applicationShouldTerminateAfterLastWindowClosed())
            terminate();
    });

    const int status = g_application_run(G_APPLICATION(m_application.get()), 0, nullptr);
    m_dialogs.clear();
    return status;
}

void Application::connectToBus() const
{
    GError* error = nullptr;
    const GObjectPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error));
    const GErrorPtr owner(error);
    if (!bus) {
        std::fprintf(stderr, "quillory: no session bus, a second launch cannot raise the window: %s\n", error->message);
        return;
    }
    // Without a bus the program still runs; when the bus goes it stays.
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    followColorScheme(bus.get());
    // The name goes with the process.
    if (!m_identifier.empty())
        g_bus_own_name_on_connection(bus.get(), m_identifier.c_str(), G_BUS_NAME_OWNER_FLAGS_NONE, nullptr, nullptr,
                                     nullptr, nullptr);
}

// The desktop finds the icon of an installed program by itself; a tree that was moved brings its own. Looking
// for it takes some time, so it is done when the page is on its way.
void Application::useIcon() const
{
    gtk_icon_theme_add_search_path(gtk_icon_theme_get_for_display(gdk_display_get_default()), m_icons.c_str());
    gtk_window_set_default_icon_name(m_identifier.c_str());
}

// A window manager that looks at a window's icon when it maps the window does not see what comes from the theme later.
void Application::setIconOf(GdkToplevel* toplevel) const
{
    GList* icons = nullptr;
    for (const char* size : {"48x48", "128x128"}) {
        const auto file = m_icons / "hicolor" / size / "apps" / (m_identifier + ".png");
        if (auto* icon = gdk_texture_new_from_filename(file.c_str(), nullptr))
            icons = g_list_append(icons, icon);
    }
    gdk_toplevel_set_icon_list(toplevel, icons);
    g_list_free_full(icons, g_object_unref);
}

// The page can then be loaded before its window is shown, which keeps this thread busy while the page's process
// starts. Nothing else is to be done yet, and a user hardly notices the wait.
void Application::prepareForPage() const
{
    if (!m_page.empty())
        prepareContentFilter(m_page, longestPreparation);
}

void Application::terminateOnSignals()
{
    const auto handler = [](gpointer application) -> gboolean {
        static_cast<Application*>(application)->terminate();
        return G_SOURCE_CONTINUE;
    };
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        g_unix_signal_add(signal, handler, this);
}

void Application::terminate()
{
    if (std::exchange(m_terminating, true) || !m_application)
        return;
    if (!m_prepareForEnd)
        return quit();
    for (auto* entry = gtk_application_get_windows(m_application.get()); entry != nullptr; entry = entry->next)
        gtk_widget_set_visible(GTK_WIDGET(entry->data), FALSE);
    m_end.start(longestPreparationForEnd, [this] {
        quit();
        return false;
    });
    m_prepareForEnd([this] { quit(); });
}

void Application::quit()
{
    g_application_quit(G_APPLICATION(m_application.get()));
}

// These desktops activate windows, not applications: ordering a window front takes the focus to it.
void Application::activate() { }
void Application::activateIgnoringOtherApps(bool) { }

std::uint32_t Application::takeUserTime()
{
    return std::exchange(m_userTime, 0);
}

GtkWindow* Application::mainWindow() const
{
    for (auto* entry = gtk_application_get_windows(m_application.get()); entry != nullptr; entry = entry->next) {
        auto* window = GTK_WINDOW(entry->data);
        if (gtk_window_get_transient_for(window) == nullptr && gtk_window_get_resizable(window) != 0)
            return window;
    }
    return nullptr;
}

void Application::whenMainWindowIsShown(std::function<void(GtkWindow*)> shown)
{
    m_mainWindowShown = std::move(shown);
    auto* window = mainWindow();
    if (window != nullptr && gtk_widget_get_mapped(GTK_WIDGET(window)) != 0)
        noteMainWindowShown();
}

void Application::noteMainWindowShown()
{
    if (m_mainWindowShown)
        std::exchange(m_mainWindowShown, nullptr)(mainWindow());
}

void Application::whenFocused(std::function<void()> focused)
{
    auto* window = mainWindow();
    const auto go = [this, focused = std::move(focused)] {
        m_focusChange.reset();
        m_focusWait.stop();
        focused();
    };
    if (window == nullptr || gtk_window_is_active(window) != 0)
        return go();
    m_focusChange = connectScoped<void(GParamSpec*)>(window, "notify::is-active", [go](GParamSpec*) { go(); });
    m_focusWait.start(longestWaitForFocus, [go] {
        go();
        return false;
    });
}

bool Application::hasFocus() const
{
    auto* window = gtk_application_get_active_window(m_application.get());
    return window != nullptr && gtk_window_is_active(window) != 0;
}

}
