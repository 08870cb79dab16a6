#include "platform/gtk/window/X11Placement.h"

#include <gdk/x11/gdkx.h>

#include <algorithm>

namespace quillory::gtk {

bool isX11(GdkDisplay* display)
{
    return GDK_IS_X11_DISPLAY(display);
}

namespace {

// In logical pixels, above and below the window's content together.
constexpr int usualFrameHeight = 28;

::Display* displayOf(GdkSurface* surface)
{
    return gdk_x11_display_get_xdisplay(gdk_surface_get_display(surface));
}

bool isX11(GdkSurface* surface)
{
    return surface != nullptr && quillory::gtk::isX11(gdk_surface_get_display(surface));
}

void requestMove(GdkSurface* surface, Point position, long gravity)
{
    auto* display = displayOf(surface);
    constexpr long hasX = 1 << 8;
    constexpr long hasY = 1 << 9;
    constexpr long fromApplication = 1 << 12;
    XEvent event {};
    event.xclient.type = ClientMessage;
    event.xclient.window = gdk_x11_surface_get_xid(surface);
    event.xclient.message_type = XInternAtom(display, "_NET_MOVERESIZE_WINDOW", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = gravity | hasX | hasY | fromApplication;
    event.xclient.data.l[1] = position.x;
    event.xclient.data.l[2] = position.y;
    XSendEvent(display, DefaultRootWindow(display), False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
}

}

std::uint32_t x11ServerTime(GdkSurface* surface)
{
    return isX11(surface) ? gdk_x11_get_server_time(surface) : GDK_CURRENT_TIME;
}

std::optional<Point> x11Position(GdkSurface* surface)
{
    if (!isX11(surface))
        return std::nullopt;
    auto* display = displayOf(surface);
    Point position;
    ::Window child = 0;
    if (!XTranslateCoordinates(display, gdk_x11_surface_get_xid(surface), DefaultRootWindow(display), 0, 0, &position.x,
                               &position.y, &child))
        return std::nullopt;
    return position;
}

void x11MoveTo(GdkSurface* surface, Point position)
{
    if (isX11(surface))
        requestMove(surface, position, StaticGravity);
}

void x11Center(GdkSurface* surface, Size size)
{
    if (!isX11(surface))
        return;
    auto* display = gdk_surface_get_display(surface);
    auto* monitor = gdk_display_get_monitor_at_surface(display, surface);
    if (monitor == nullptr)
        return;
    const auto area = workArea(monitor);
    const int scale = gdk_surface_get_scale_factor(surface);
    const int x = std::max(0, (area.width - static_cast<int>(size.width)) / 2);
    const int y = std::max(0, (area.height - static_cast<int>(size.height) - usualFrameHeight) / 2);
    // The frame's corner: how thick the frame will be is not known yet.
    requestMove(surface, {(area.x + x) * scale, (area.y + y) * scale}, NorthWestGravity);
}

GdkMonitor* mainMonitor(GdkDisplay* display)
{
    if (isX11(display)) {
        if (auto* primary = gdk_x11_display_get_primary_monitor(display))
            return GDK_MONITOR(g_object_ref(primary));
    }
    return static_cast<GdkMonitor*>(g_list_model_get_item(gdk_display_get_monitors(display), 0));
}

GdkRectangle workArea(GdkMonitor* monitor)
{
    GdkRectangle area;
    if (isX11(gdk_monitor_get_display(monitor)))
        gdk_x11_monitor_get_workarea(monitor, &area);
    else
        gdk_monitor_get_geometry(monitor, &area);
    return area;
}

}
