#include "platform/gtk/Application.h"

#include <giomm/dbusconnection.h>
#include <glib-unix.h>
#include <glibmm/main.h>
#include <gtk/gtk.h>
#include <gtkmm/icontheme.h>
#include <gtkmm/window.h>

#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "platform/gtk/ContentFilter.h"

namespace quillory::gtk {

namespace {

constexpr std::chrono::milliseconds longestPreparation {200};

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
    : m_identifier(Gio::Application::id_is_valid(identifier) ? std::move(identifier) : std::string())
    , m_icons(std::move(icons))
    , m_page(std::move(page))
{
}

Application::~Application() = default;

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
    if (!m_identifier.empty())
        g_set_prgname(m_identifier.c_str());
    ignoreUnusableCacheFolder();
    if (!gtk_init_check()) {
        std::fputs("quillory: there is no display to open a window on\n", stderr);
        return 1;
    }
    prepareForPage();
    // The lock has decided already that this is the one instance: another process that still has the
    // name, because it is just ending, must not turn this one into its client.
    m_application = Gtk::Application::create(m_identifier, Gio::Application::Flags::NON_UNIQUE);
    m_application->signal_startup().connect([&] {
        ownName();
        Glib::signal_idle().connect_once([this] { useIcon(); }, Glib::PRIORITY_LOW);
        terminateOnSignals();
        m_application->hold();
        delegate.applicationDidFinishLaunching();
    });
    bool launched = false;
    m_application->signal_activate().connect([&] {
        if (std::exchange(launched, true))
            delegate.applicationShouldHandleReopen(false);
    });
    m_application->signal_window_removed().connect([&](Gtk::Window*) {
        if (m_application->get_windows().empty() && delegate.applicationShouldTerminateAfterLastWindowClosed())
            terminate();
    });

    const int status = m_application->run();
    m_dialogs.clear();
    if (m_nameOwner != 0)
        Gio::DBus::unown_name(m_nameOwner);
    return status;
}

void Application::ownName()
{
    if (m_identifier.empty())
        return;
    try {
        // Without a bus the program still runs; when the bus goes it stays.
        Gio::DBus::Connection::get_sync(Gio::DBus::BusType::SESSION)->set_exit_on_close(false);
        m_nameOwner = Gio::DBus::own_name(Gio::DBus::BusType::SESSION, m_identifier);
    } catch (const Glib::Error& error) {
        std::fprintf(stderr, "quillory: no session bus, a second launch cannot raise the window: %s\n", error.what());
    }
}

// The desktop finds the icon of an installed program by itself; a tree that was moved brings its own. Looking
// for it takes some time, so it is done when the page is on its way.
void Application::useIcon() const
{
    Gtk::IconTheme::get_for_display(Gdk::Display::get_default())->add_search_path(m_icons.string());
    Gtk::Window::set_default_icon_name(m_identifier);
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
    m_terminating = true;
    if (m_application)
        m_application->quit();
}

// These desktops activate windows, not applications: ordering a window front takes the focus to it.
void Application::activate() { }
void Application::activateIgnoringOtherApps(bool) { }

std::uint32_t Application::takeUserTime()
{
    return std::exchange(m_userTime, 0);
}

Gtk::Window* Application::mainWindow() const
{
    for (auto* window : m_application->get_windows()) {
        if (window->get_transient_for() == nullptr && window->get_resizable())
            return window;
    }
    return nullptr;
}

}
