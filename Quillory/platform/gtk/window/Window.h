#pragma once

#include <gtk/gtk.h>

#include <optional>
#include <vector>

#include "platform/Window.h"
#include "platform/glib/SignalConnection.h"
#include "platform/gtk/window/FirstFrame.h"
#include "platform/gtk/window/ViewRenderer.h"
#include "platform/gtk/window/WindowPtr.h"
#include "platform/gtk/window/X11Placement.h"

namespace quillory::gtk {

class Application;

class Window final : public quillory::Window {
public:
    // Neither the window nor what it can be made smaller to is larger than `screen` has room for.
    Window(Application& application, std::optional<Screen> screen, Size contentSize, unsigned styleMask);

    void setTitle(const std::string& title) override;
    void setContentView(const FramedView& content) override;
    void setContentMinSize(Size size) override;
    void center() override { m_centerWhenMapped = true; }
    void setDelegate(WindowDelegate* delegate) override { m_delegate = delegate; }

    void makeKeyAndOrderFront() override;
    void orderFrontRegardless() override { m_regardless = true; }
    void orderOut() override;
    void setIsVisible(bool visible) override;
    bool isMiniaturized() const override;
    void deminiaturize() override;

private:
    void addMenuBar();
    void returnFocusFromMenuBar();
    void placeWhenMapped();
    void keepWithinBounds(GdkToplevelSize* limits);
    Size fitting(Size content) const;
    Size defaultSize() const;
    bool isOnX11() const;
    GdkSurface* surface() const;

    Application& m_application;
    std::optional<Screen> m_screen;
    Size m_minimum; // of the content
    bool m_hasMenuBar;
    WindowPtr<GtkWindow> m_window;
    FirstFrame m_firstFrame {m_window.get()};
    std::vector<SignalConnection> m_connections;
    // Both belong to the window.
    GtkBox* m_column;
    GtkWidget* m_menuBar = nullptr;
    int m_menuBarHeight = 0; // logical pixels
    RenderedView m_content;
    WindowDelegate* m_delegate = nullptr;
    // Done when the window is next mapped: a window manager places a window anew each time.
    bool m_centerWhenMapped = false;
    std::optional<Point> m_positionWhenMapped;
    // Asked for before the window is next made key. A window comes to the front and gets the focus in one
    // request; a second one would only delay the first.
    bool m_regardless = false;
    bool m_isNew = false; // shown, and not yet made key
};

}
