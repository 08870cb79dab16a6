#include "platform/gtk/window/Window.h"

#include <gdk/wayland/gdkwayland.h>

#include <algorithm>
#include <utility>

#include "platform/gtk/application/Application.h"
#include "platform/gtk/web/WebView.h"
#include "platform/gtk/window/MenuBar.h"

namespace quillory::gtk {

namespace {

int naturalHeight(GtkWidget* widget)
{
    int natural = 0;
    gtk_widget_measure(widget, GTK_ORIENTATION_VERTICAL, -1, nullptr, &natural, nullptr, nullptr);
    return natural;
}

// In logical pixels, what window managers draw around a window or the toolkit in it: it is known once there is one.
constexpr int titleBarHeight = 56;

// A launch or a shortcut has handed this process the right to take the focus.
bool hasActivationToken(GdkDisplay* display)
{
    const char* token = gdk_display_get_startup_notification_id(display);
    return token != nullptr && *token != '\0';
}

// In the first frame of the window that it belongs to: whichever is new last gets the focus.
gboolean presentModalAlert(GtkWidget*, GdkFrameClock*, gpointer application)
{
    if (auto* alert = static_cast<Application*>(application)->modalAlert())
        gtk_window_present(alert);
    return G_SOURCE_REMOVE;
}

}

Window::Window(Application& application, std::optional<Screen> screen, Size contentSize, unsigned styleMask)
    : m_application(application)
    , m_screen(screen)
    , m_hasMenuBar((styleMask & windowMiniaturizable) != 0)
    , m_window(own(GTK_WINDOW(g_object_new(GTK_TYPE_APPLICATION_WINDOW, nullptr))))
    , m_column(GTK_BOX(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)))
{
    auto* window = m_window.get();
    gtk_application_add_window(m_application.gtkApplication(), window);
    gtk_application_window_set_show_menubar(GTK_APPLICATION_WINDOW(window), FALSE);
    gtk_window_set_resizable(window, (styleMask & windowResizable) != 0);
    gtk_window_set_child(window, GTK_WIDGET(m_column));
    const auto size = fitting(contentSize);
    gtk_window_set_default_size(window, pixels(size.width), pixels(size.height));

    installWindowActions(window, [this] { m_application.terminate(); });
    m_connections.push_back(connectScoped<gboolean()>(window, "close-request", [this] {
        if (m_delegate == nullptr || m_delegate->windowShouldClose(*this))
            orderOut();
        return TRUE;
    }));
    m_connections.push_back(connectScoped<void()>(window, "realize", [this] {
        m_application.setIconOf(GDK_TOPLEVEL(surface()));
        m_connections.push_back(connectScoped<void(GdkToplevelSize*)>(
            surface(), "compute-size", [this](GdkToplevelSize* limits) { keepWithinBounds(limits); }));
    }));
    m_connections.push_back(connectScoped<void()>(window, "map", [this] {
        placeWhenMapped();
        if (m_hasMenuBar)
            m_application.noteMainWindowShown();
    }));
}

void Window::addMenuBar()
{
    m_menuBar = makeMenuBar(m_window.get(), m_application.scene(), [this](const char* command) {
        if (m_content.webView)
            m_content.webView->executeEditingCommand(command);
    });
    gtk_box_prepend(m_column, m_menuBar);
    m_menuBarHeight = naturalHeight(m_menuBar);
    const auto content = fitting(defaultSize());
    gtk_window_set_default_size(m_window.get(), pixels(content.width), pixels(content.height) + m_menuBarHeight);
    m_connections.push_back(connectScoped<void(GParamSpec*)>(m_window.get(), "notify::focus-widget",
                                                             [this](GParamSpec*) { returnFocusFromMenuBar(); }));
}

// A menu that closes leaves the focus on its title in the bar; people go on typing in the page.
void Window::returnFocusFromMenuBar()
{
    auto* focus = gtk_window_get_focus(m_window.get());
    if (m_content.webView && focus != nullptr && gtk_widget_get_parent(focus) == m_menuBar)
        m_content.webView->grabFocus();
}

void Window::setTitle(const std::string& title)
{
    gtk_window_set_title(m_window.get(), title.c_str());
}

void Window::setContentView(const FramedView& content)
{
    m_content = renderView(content.view);
    gtk_widget_set_vexpand(m_content.widget.get(), TRUE);
    gtk_widget_set_hexpand(m_content.widget.get(), TRUE);
    gtk_box_append(m_column, m_content.widget.get());
    // Laying out a text waits until the fonts are known: a page's process can start meanwhile.
    if (m_hasMenuBar)
        addMenuBar();
    setContentMinSize(content.minSize);
    if (m_content.webView)
        m_content.webView->grabFocus();
}

void Window::setContentMinSize(Size size)
{
    m_minimum = size;
    const auto minimum = fitting(size);
    if (m_content.widget)
        gtk_widget_set_size_request(m_content.widget.get(), pixels(minimum.width), pixels(minimum.height));
}

// On Wayland only the compositor knows what its panels leave of the screen, and it says so before the window is shown.
void Window::keepWithinBounds(GdkToplevelSize* limits)
{
    int width = 0;
    int height = 0;
    gdk_toplevel_size_get_bounds(limits, &width, &height);
    if (!m_screen || isOnX11() || width <= 0 || height <= 0)
        return;
    auto& frame = m_screen->visibleFrame;
    const Size left {std::min(frame.width, static_cast<double>(width)),
                     std::min(frame.height, static_cast<double>(height))};
    if (std::exchange(frame, left) != left)
        setContentMinSize(m_minimum);
}

Size Window::fitting(Size content) const
{
    if (!m_screen)
        return content;
    return {std::min(content.width, m_screen->visibleFrame.width),
            std::min(content.height, m_screen->visibleFrame.height - titleBarHeight - m_menuBarHeight)};
}

Size Window::defaultSize() const
{
    int width = 0;
    int height = 0;
    gtk_window_get_default_size(m_window.get(), &width, &height);
    return {static_cast<double>(width), static_cast<double>(height)};
}

void Window::makeKeyAndOrderFront()
{
    const bool regardless = std::exchange(m_regardless, false);
    const bool isNew = std::exchange(m_isNew, false);
    auto* alert = m_application.modalAlert();
    if (regardless && isOnX11()) {
        // A time that is newer than the focused window's last key press: the window manager lets it through.
        const auto userTime = m_application.takeUserTime();
        const auto time = userTime != 0 ? userTime : x11ServerTime(surface());
        gtk_window_present_with_time(m_window.get(), time);
        if (alert != nullptr)
            gtk_window_present_with_time(alert, time);
        return;
    }
    // Without a token only a window that is new to the compositor gets the focus.
    auto* front = alert != nullptr ? alert : m_window.get();
    const bool anew = regardless && gtk_window_is_active(front) == 0
        && !hasActivationToken(gtk_widget_get_display(GTK_WIDGET(front)));
    if (anew && alert != nullptr)
        gtk_widget_set_visible(GTK_WIDGET(alert), FALSE);
    if (anew && !isNew)
        setIsVisible(false);
    gtk_window_present(m_window.get());
    if (alert != nullptr && anew)
        gtk_widget_add_tick_callback(GTK_WIDGET(m_window.get()), presentModalAlert, &m_application, nullptr);
    else if (alert != nullptr)
        gtk_window_present(alert);
}

void Window::orderOut()
{
    if (gtk_widget_get_mapped(GTK_WIDGET(m_window.get())) != 0 && !isMiniaturized())
        m_positionWhenMapped = x11Position(surface());
    setIsVisible(false);
}

void Window::setIsVisible(bool visible)
{
    m_isNew = visible && gtk_widget_get_visible(GTK_WIDGET(m_window.get())) == 0;
    gtk_widget_set_visible(GTK_WIDGET(m_window.get()), visible);
}

bool Window::isMiniaturized() const
{
    auto* toplevel = surface();
    return toplevel != nullptr && (gdk_toplevel_get_state(GDK_TOPLEVEL(toplevel)) & GDK_TOPLEVEL_STATE_MINIMIZED) != 0;
}

void Window::deminiaturize()
{
    gtk_window_unminimize(m_window.get());
}

void Window::placeWhenMapped()
{
    if (std::exchange(m_centerWhenMapped, false))
        x11Center(surface(), defaultSize());
    else if (m_positionWhenMapped)
        x11MoveTo(surface(), *m_positionWhenMapped);
    m_positionWhenMapped.reset();
}

bool Window::isOnX11() const
{
    return isX11(gtk_widget_get_display(GTK_WIDGET(m_window.get())));
}

GdkSurface* Window::surface() const
{
    return gtk_native_get_surface(GTK_NATIVE(m_window.get()));
}

}
