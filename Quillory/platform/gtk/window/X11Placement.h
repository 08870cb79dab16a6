#pragma once

#include <gdk/gdk.h>

#include <cstdint>
#include <optional>

#include "platform/Screen.h"

namespace quillory::gtk {

// What an X11 client may still do to its own windows and the toolkit no longer offers. All of it does
// nothing for a surface of another window system.

struct Point {
    int x = 0; // device pixels, from the root window's corner
    int y = 0;
};

bool isX11(GdkDisplay* display);
// The server's own time, now.
std::uint32_t x11ServerTime(GdkSurface* surface);
// Where the content of a mapped window stands, and how to put it there again.
std::optional<Point> x11Position(GdkSurface* surface);
void x11MoveTo(GdkSurface* surface, Point position);
// Puts a window that is being mapped, of a size in logical pixels, into the middle of its monitor's work
// area. The title bar of one that is larger than that stays in reach.
void x11Center(GdkSurface* surface, Size size);
// The primary monitor, or the first one; null without any. The caller owns a reference.
GdkMonitor* mainMonitor(GdkDisplay* display);
// The part of a monitor that panels leave free as far as that is known, in logical pixels.
GdkRectangle workArea(GdkMonitor* monitor);

}
