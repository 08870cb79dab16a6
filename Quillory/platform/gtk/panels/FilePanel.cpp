#include "platform/gtk/panels/FilePanel.h"

#include <cstdio>
#include <memory>
#include <utility>

#include "platform/glib/BoxedFunction.h"
#include "platform/gtk/application/Application.h"
#include "platform/gtk/application/MainQueue.h"

namespace quillory::gtk {

namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr std::chrono::milliseconds portalGoneDelay {250};

// Shown by the toolkit, and not by the desktop's portal.
bool showsOwnPanel()
{
    const std::unique_ptr<GList, FreedBy<g_list_free>> windows(gtk_window_list_toplevels());
    for (auto* entry = windows.get(); entry != nullptr; entry = entry->next) {
        if (GTK_IS_FILE_CHOOSER_DIALOG(entry->data) && gtk_widget_get_visible(GTK_WIDGET(entry->data)))
            return true;
    }
    return false;
}

}

FilePanel::FilePanel(Application& application, const std::string& title, GtkFileChooserAction action)
    : m_application(application)
    , m_chooser(gtk_file_chooser_native_new(title.c_str(), application.mainWindow(), action, nullptr, nullptr))
{
    gtk_native_dialog_set_modal(GTK_NATIVE_DIALOG(m_chooser.get()), FALSE);
}

FilePanel::~FilePanel()
{
    if (m_portalWatch != 0)
        g_bus_unwatch_name(m_portalWatch);
}

void FilePanel::allowTypes(const std::vector<ContentType>& types)
{
    const GObjectPtr<GtkFileFilter> filter(gtk_file_filter_new());
    std::string name;
    for (const auto& type : types) {
        gtk_file_filter_add_mime_type(filter.get(), type.mimeType.c_str());
        for (const auto& suffix : type.suffixes) {
            gtk_file_filter_add_suffix(filter.get(), suffix.c_str());
            name += (name.empty() ? "*." : ", *.") + suffix;
        }
    }
    gtk_file_filter_set_name(filter.get(), name.c_str());
    gtk_file_chooser_add_filter(chooser(), filter.get());
    gtk_file_chooser_set_filter(chooser(), filter.get());
}

void FilePanel::show(PanelCompletion completion)
{
    auto* dialog = GTK_NATIVE_DIALOG(m_chooser.get());
    m_completion = std::move(completion);
    m_response = connectScoped<void(int)>(dialog, "response", [this](int response) { ended(response); });
    m_application.keep(shared_from_this());
    gtk_native_dialog_show(dialog);
    if (!showsOwnPanel())
        watchPortal();
}

// The toolkit would wait for ever for the answer of a portal that has gone. It fails by itself if its
// question has not been taken yet, and must have done so before the panel may go.
void FilePanel::watchPortal()
{
    using Changed = BoxedFunction<void(bool isThere)>;
    const auto end = [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->ended(GTK_RESPONSE_DELETE_EVENT);
    };
    const auto changed = [weak = weak_from_this(), end](bool isThere) {
        if (const auto self = weak.lock())
            self->m_portalIsThere = isThere;
        if (!isThere)
            MainQueue().asyncAfter(portalGoneDelay, end);
    };
    const auto appeared = [](GDBusConnection*, const char*, const char*, gpointer box) { Changed::of(box)(true); };
    const auto vanished = [](GDBusConnection*, const char*, gpointer box) { Changed::of(box)(false); };
    m_portalWatch = g_bus_watch_name(G_BUS_TYPE_SESSION, portalName, G_BUS_NAME_WATCHER_FLAGS_AUTO_START, appeared,
                                     vanished, Changed::make(changed), Changed::free);
}

void FilePanel::ended(int response)
{
    const auto handler = std::exchange(m_completion, nullptr);
    if (!handler)
        return;
    // The application may be the last to refer to it.
    const auto self = shared_from_this();
    m_application.release(self);
    // A panel that the user closes is answered in the same way.
    if (m_portalWatch != 0 && !m_portalIsThere && response == GTK_RESPONSE_DELETE_EVENT)
        std::fputs("quillory: the desktop's file panel has gone, nothing was chosen\n", stderr);

    std::optional<std::filesystem::path> url;
    if (response == GTK_RESPONSE_ACCEPT) {
        const GObjectPtr<GFile> file(gtk_file_chooser_get_file(chooser()));
        if (const char* path = file ? g_file_peek_path(file.get()) : nullptr)
            url = path;
    }
    // Destroyed before the work starts, so that it is off the screen while a large file is written.
    gtk_native_dialog_hide(GTK_NATIVE_DIALOG(m_chooser.get()));
    handler(response == GTK_RESPONSE_ACCEPT ? ModalResponse::ok : ModalResponse::cancel, std::move(url));
}

}
