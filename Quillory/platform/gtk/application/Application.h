#pragma once

#include <gtk/gtk.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/Application.h"
#include "platform/glib/GObjectPtr.h"
#include "platform/glib/SignalConnection.h"
#include "platform/glib/Timeout.h"

namespace quillory::gtk {

// The running program on GtkApplication. Nothing of GTK exists before the event loop starts.
class Application final : public quillory::Application {
public:
    // An empty identifier leaves the program without a name on the session bus. `icons` is a folder of
    // icon themes that has the application's icon, `page` the one that has the page; both may be missing.
    Application(std::string identifier, std::filesystem::path icons, std::filesystem::path page);

    int run(ApplicationDelegate& delegate, const Scene& scene) override;
    void terminate() override;
    void activate() override;
    void activateIgnoringOtherApps(bool ignoringOtherApps) override;

    // The window system's time of the user's latest action that the focused window did not see, for the
    // window that comes to the front because of it (X11). Forgotten once it was asked for.
    void noteUserTime(std::uint32_t time) { m_userTime = time; }
    std::uint32_t takeUserTime();

    // From the program's own files, without the icon theme, which may still be loading.
    void setIconOf(GdkToplevel* toplevel) const;

    GtkApplication* gtkApplication() { return m_application.get(); }
    const Scene& scene() const { return *m_scene; }
    // The window that panels belong to; null if there is none.
    GtkWindow* mainWindow() const;
    // Calls `shown` with the main window once that is on the screen, which may be now.
    void whenMainWindowIsShown(std::function<void(GtkWindow*)> shown);
    void noteMainWindowShown();
    // Whether one of the program's windows has the focus.
    bool hasFocus() const;
    // Calls `focused` once the main window has the focus, or does not get it in half a second. One waits at a time.
    void whenFocused(std::function<void()> focused);

    // Keeps a dialog alive while it is shown and nobody else holds it; dropped when the run ends.
    void keep(std::shared_ptr<void> dialog) { m_dialogs.insert(std::move(dialog)); }
    void release(const std::shared_ptr<void>& dialog) { m_dialogs.erase(dialog); }

    // What has to be done before the run ends, and calls `done` then. It is not waited for longer than a second.
    using Preparation = std::function<void(std::function<void()> done)>;
    void setPreparationForEnd(Preparation prepare) { m_prepareForEnd = std::move(prepare); }

    // While a modal alert is open timers rest.
    void beginModal(GtkWindow* alert) { m_modalAlerts.push_back(alert); }
    void endModal(GtkWindow* alert) { std::erase(m_modalAlerts, alert); }
    bool isModal() const { return !m_modalAlerts.empty(); }
    // The latest that is open, or null. It comes to the front with whatever window does.
    GtkWindow* modalAlert() const { return m_modalAlerts.empty() ? nullptr : m_modalAlerts.back(); }

private:
    int runEventLoop(ApplicationDelegate& delegate);
    void connectToBus() const;
    void useIcon() const;
    void terminateOnSignals();
    void prepareForPage() const;
    void quit();

    std::string m_identifier;
    std::filesystem::path m_icons;
    std::filesystem::path m_page;
    const Scene* m_scene = nullptr;
    GObjectPtr<GtkApplication> m_application;
    std::set<std::shared_ptr<void>> m_dialogs;
    std::function<void(GtkWindow*)> m_mainWindowShown;
    std::uint32_t m_userTime = 0;
    std::vector<GtkWindow*> m_modalAlerts; // they unregister before they go
    Preparation m_prepareForEnd;
    Timeout m_end;
    SignalConnection m_focusChange;
    Timeout m_focusWait;
    bool m_terminating = false;
};

}
