#include "platform/gtk/FilePanel.h"

#include <gtkmm/dialog.h>
#include <gtkmm/filefilter.h>
#include <gtkmm/window.h>

#include "platform/gtk/Application.h"

namespace quillory::gtk {

namespace {

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
    m_chooser->signal_response().connect(
        [this, completion = std::move(completion)](int response) { ended(response, completion); });
    m_application.keep(shared_from_this());
    m_chooser->show();
}

void FilePanel::ended(int response, const PanelCompletion& completion)
{
    // The completion may be the last thing to refer to either.
    const auto self = shared_from_this();
    const auto handler = completion;
    m_application.release(self);

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
