#include "platform/gtk/FilePanel.h"

#include <giomm/dbuswatchname.h>
#include <glibmm/main.h>
#include <gtk/gtk.h>
#include <gtkmm/dialog.h>
#include <gtkmm/filefilter.h>
#include <gtkmm/window.h>

#include <cstdio>
#include <memory>
#include <utility>

#include "platform/gtk/Application.h"

namespace quillory::gtk {

namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr unsigned portalGoneDelayMilliseconds = 250;

Glib::RefPtr<Gtk::FileFilter> makeFilter(const std::vector<ContentType>& types)
{
    auto filter = Gtk::FileFilter::create();
    std::string name;
    for (const auto& type : types) {
        filter->add_mime_type(type.mimeType);
        for (const auto& suffix : type.suffixes) {
            filter->add_suffix(suffix);
            name += (name.empty() ? "*." : ", *.") + suffix;
        }
    }
    filter->set_name(name);
    return filter;
}

// Shown by the toolkit, and not by the desktop's portal.
bool showsOwnPanel()
{
    const std::unique_ptr<GList, decltype(&g_list_free)> windows(gtk_window_list_toplevels(), g_list_free);
    for (auto* entry = windows.get(); entry != nullptr; entry = entry->next) {
        if (GTK_IS_FILE_CHOOSER_DIALOG(entry->data) && gtk_widget_get_visible(GTK_WIDGET(entry->data)))
            return true;
    }
    return false;
}

}

FilePanel::~FilePanel()
{
    if (m_portalWatch != 0)
        Gio::DBus::unwatch_name(m_portalWatch);
}

void FilePanel::show(const Settings& settings, PanelCompletion completion)
{
    auto* parent = m_application.mainWindow();
    m_chooser = parent != nullptr
        ? Gtk::FileChooserNative::create(settings.title, *parent, settings.action, settings.acceptLabel)
        : Gtk::FileChooserNative::create(settings.title, settings.action, settings.acceptLabel);
    m_chooser->set_modal(false);
    m_chooser->set_create_folders(settings.createFolders);
    if (!settings.currentName.empty())
        m_chooser->set_current_name(settings.currentName);
    if (!settings.allowedTypes.empty()) {
        const auto filter = makeFilter(settings.allowedTypes);
        m_chooser->add_filter(filter);
        m_chooser->set_filter(filter);
    }
    m_completion = std::move(completion);
    m_chooser->signal_response().connect([this](int response) { ended(response); });
    m_application.keep(shared_from_this());
    m_chooser->show();
    if (!showsOwnPanel())
        watchPortal();
}

// The toolkit would wait for ever for the answer of a portal that has gone. It fails by itself if its
// question has not been taken yet, and must have done so before the panel may go.
void FilePanel::watchPortal()
{
    const auto vanished = [weak = weak_from_this()](const auto&, const auto&) {
        Glib::signal_timeout().connect_once(
            [weak] {
                if (const auto self = weak.lock())
                    self->ended(Gtk::ResponseType::DELETE_EVENT);
            },
            portalGoneDelayMilliseconds);
    };
    m_portalWatch = Gio::DBus::watch_name(Gio::DBus::BusType::SESSION, portalName, {}, vanished,
                                          Gio::DBus::BusNameWatcherFlags::AUTO_START);
}

void FilePanel::ended(int response)
{
    const auto handler = std::exchange(m_completion, nullptr);
    if (!handler)
        return;
    // The application may be the last to refer to it.
    const auto self = shared_from_this();
    m_application.release(self);
    if (m_portalWatch != 0 && response == Gtk::ResponseType::DELETE_EVENT)
        std::fputs("quillory: the desktop's file panel has gone, nothing was chosen\n", stderr);

    std::optional<std::filesystem::path> url;
    if (response == Gtk::ResponseType::ACCEPT) {
        if (const auto file = m_chooser->get_file(); file && !file->get_path().empty())
            url = file->get_path();
    }
    // Destroyed before the work starts, so that it is off the screen while a large file is written.
    m_chooser->hide();
    handler(response == Gtk::ResponseType::ACCEPT ? ModalResponse::ok : ModalResponse::cancel, std::move(url));
}

}
