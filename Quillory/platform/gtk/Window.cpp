#include "platform/gtk/Window.h"

#include <gdk/wayland/gdkwayland.h>
#include <gtk/gtk.h>

#include <cmath>
#include <utility>

#include "platform/Localization.h"
#include "platform/gtk/AccessibleName.h"
#include "platform/gtk/Application.h"
#include "platform/gtk/MenuBar.h"
#include "platform/gtk/WebView.h"

namespace quillory::gtk {

namespace {

int pixels(double length)
{
    return static_cast<int>(std::lround(length));
}

int naturalHeight(const Gtk::Widget& widget)
{
    int minimum = 0;
    int natural = 0;
    int minimumBaseline = 0;
    int naturalBaseline = 0;
    widget.measure(Gtk::Orientation::VERTICAL, -1, minimum, natural, minimumBaseline, naturalBaseline);
    return natural;
}

// A launch or a shortcut has handed this process the right to take the focus.
bool hasActivationToken(GdkDisplay* display)
{
    const char* token = gdk_display_get_startup_notification_id(display);
    return token != nullptr && *token != '\0';
}

}

Window::Window(Application& application, Size contentSize, unsigned styleMask)
    : m_application(application)
    , m_hasMenuBar((styleMask & windowMiniaturizable) != 0)
{
    m_application.gtkApplication().add_window(m_window);
    m_window.set_show_menubar(false);
    m_window.set_hide_on_close(true);
    m_window.set_resizable((styleMask & windowResizable) != 0);
    m_window.set_child(m_column);
    m_window.set_default_size(pixels(contentSize.width), pixels(contentSize.height));

    m_window.signal_close_request().connect(
        [this] {
            performClose();
            return true;
        },
        false);
    m_window.signal_map().connect([this] { placeWhenMapped(); });
}

Window::~Window() = default;

void Window::addMenuBar()
{
    const auto& scene = m_application.scene();
    installMenuActions(m_window, scene,
                       {.quit = [this] { m_application.terminate(); },
                        .close = [this] { performClose(); },
                        .minimize = [this] { m_window.minimize(); },
                        .edit =
                            [this](const char* command) {
                                if (m_content.webView)
                                    m_content.webView->executeEditingCommand(command);
                            }});
    m_menuBar = std::make_unique<Gtk::PopoverMenuBar>(makeMenuBarModel(scene));
    setAccessibleName(*m_menuBar, localized("Menu bar"));
    m_column.prepend(*m_menuBar);
    int width = 0;
    int height = 0;
    m_window.get_default_size(width, height);
    m_window.set_default_size(width, height + naturalHeight(*m_menuBar));
    m_window.property_focus_widget().signal_changed().connect([this] { returnFocusFromMenuBar(); });
}

// A menu that closes leaves the focus on its title in the bar; people go on typing in the page.
void Window::returnFocusFromMenuBar()
{
    const auto* focus = m_window.get_focus();
    if (m_content.webView && focus != nullptr && focus->get_parent() == m_menuBar.get())
        m_content.webView->grabFocus();
}

void Window::performClose()
{
    if (m_delegate == nullptr || m_delegate->windowShouldClose(*this))
        orderOut();
}

void Window::setTitle(const std::string& title)
{
    m_window.set_title(title);
}

void Window::setContentView(const FramedView& content)
{
    m_content = renderView(content.view);
    m_content.widget->set_vexpand(true);
    m_content.widget->set_hexpand(true);
    m_column.append(*m_content.widget);
    // Laying out a text waits until the fonts are known: a page's process can start meanwhile.
    if (m_hasMenuBar && !m_menuBar)
        addMenuBar();
    setContentMinSize(content.minSize);
    if (m_content.webView)
        m_content.webView->grabFocus();
}

void Window::setContentMinSize(Size size)
{
    if (m_content.widget)
        m_content.widget->set_size_request(pixels(size.width), pixels(size.height));
}

void Window::center()
{
    m_centerWhenMapped = true;
}

void Window::setDelegate(WindowDelegate* delegate)
{
    m_delegate = delegate;
}

void Window::makeKeyAndOrderFront()
{
    m_window.present();
}

void Window::orderFrontRegardless()
{
    if (isOnX11()) {
        // A time that is newer than the focused window's last key press: the window manager lets it through.
        const auto userTime = m_application.takeUserTime();
        gtk_window_present_with_time(GTK_WINDOW(m_window.gobj()), userTime != 0 ? userTime : x11ServerTime(surface()));
        return;
    }
    // Without a token only a window that is new to the compositor gets the focus.
    if (m_window.is_visible() && !m_window.is_active() && !hasActivationToken(m_window.get_display()->gobj()))
        m_window.set_visible(false);
    m_window.present();
}

void Window::orderOut()
{
    if (m_window.get_mapped() && !isMiniaturized())
        m_positionWhenMapped = x11Position(surface());
    m_window.set_visible(false);
}

void Window::setIsVisible(bool visible)
{
    m_window.set_visible(visible);
}

bool Window::isMiniaturized() const
{
    auto* toplevel = surface();
    return toplevel != nullptr && (gdk_toplevel_get_state(GDK_TOPLEVEL(toplevel)) & GDK_TOPLEVEL_STATE_MINIMIZED) != 0;
}

void Window::deminiaturize()
{
    m_window.unminimize();
}

void Window::placeWhenMapped()
{
    if (std::exchange(m_centerWhenMapped, false)) {
        int width = 0;
        int height = 0;
        m_window.get_default_size(width, height);
        x11Center(surface(), {static_cast<double>(width), static_cast<double>(height)});
    } else if (m_positionWhenMapped) {
        x11MoveTo(surface(), *m_positionWhenMapped);
    }
    m_positionWhenMapped.reset();
}

bool Window::isOnX11() const
{
    return isX11(gtk_widget_get_display(GTK_WIDGET(const_cast<GtkApplicationWindow*>(m_window.gobj()))));
}

GdkSurface* Window::surface() const
{
    return gtk_native_get_surface(GTK_NATIVE(const_cast<GtkApplicationWindow*>(m_window.gobj())));
}

}
