#include "platform/gtk/web/WebView.h"

#include <cstdio>

#include "platform/Localization.h"
#include "platform/gtk/web/ContentFilter.h"
#include "platform/gtk/web/EngineThreads.h"
#include "platform/gtk/web/PageLanguages.h"
#include "platform/gtk/web/PageRequests.h"
#include "platform/gtk/window/AccessibleName.h"

namespace quillory::gtk {

namespace {

GObjectPtr<WebKitWebView> makeView(const WebViewConfiguration& configuration)
{
    tellPagesTheLanguages();
    return sink(WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager",
                                             configuration.sharedUserContentController()->manager(), "settings",
                                             configuration.settings(), nullptr)));
}

// The engine would write into the Downloads folder unasked.
void refuseDownload(WebKitNetworkSession*, WebKitDownload* download, gpointer)
{
    webkit_download_cancel(download);
}

// Items of a browser's menu that would leave the page, lose its state or do nothing here.
bool belongsToBrowser(WebKitContextMenuAction action)
{
    switch (action) {
    case WEBKIT_CONTEXT_MENU_ACTION_GO_BACK:
    case WEBKIT_CONTEXT_MENU_ACTION_GO_FORWARD:
    case WEBKIT_CONTEXT_MENU_ACTION_STOP:
    case WEBKIT_CONTEXT_MENU_ACTION_RELOAD:
    case WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK:
    case WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK_IN_NEW_WINDOW:
    case WEBKIT_CONTEXT_MENU_ACTION_OPEN_IMAGE_IN_NEW_WINDOW:
    case WEBKIT_CONTEXT_MENU_ACTION_OPEN_FRAME_IN_NEW_WINDOW:
    case WEBKIT_CONTEXT_MENU_ACTION_OPEN_VIDEO_IN_NEW_WINDOW:
    case WEBKIT_CONTEXT_MENU_ACTION_OPEN_AUDIO_IN_NEW_WINDOW:
    case WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_LINK_TO_DISK:
    case WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_IMAGE_TO_DISK:
    case WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_VIDEO_TO_DISK:
    case WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_AUDIO_TO_DISK:
        return true;
    default:
        return false;
    }
}

// The engine would show the reason in the page's place.
gboolean stayWithPage(WebKitWebView*, WebKitLoadEvent, const char* uri, const GError* error, gpointer)
{
    std::fprintf(stderr, "quillory: %s is not loaded: %s\n", uri, error->message);
    return TRUE;
}

// The one document that a page can leave for without a request, which the content filter would block.
bool isEmptyPage(WebKitWebView* view)
{
    return g_strcmp0(webkit_web_view_get_uri(view), "about:blank") == 0;
}

// True to show no menu at all.
gboolean trimContextMenu(WebKitWebView*, WebKitContextMenu* menu, WebKitHitTestResult*, gpointer)
{
    auto* item = webkit_context_menu_get_items(menu);
    while (item != nullptr) {
        auto* menuItem = static_cast<WebKitContextMenuItem*>(item->data);
        item = item->next;
        if (belongsToBrowser(webkit_context_menu_item_get_stock_action(menuItem)))
            webkit_context_menu_remove(menu, menuItem);
    }
    return webkit_context_menu_get_n_items(menu) == 0;
}

// The engine asks a text view that nobody sees what each key means. The menu key, and Shift+F10, would open that
// view's own menu over the page, which has nothing to do with it.
void leaveMenuKeyToPage(GtkWidget* view)
{
    for (auto* child = gtk_widget_get_first_child(view); child != nullptr; child = gtk_widget_get_next_sibling(child)) {
        if (GTK_IS_TEXT_VIEW(child))
            gtk_widget_action_set_enabled(child, "menu.popup", FALSE);
    }
}

bool hasFiles(GdkDrop* drop)
{
    const std::unique_ptr<GdkContentFormats, FreedBy<gdk_content_formats_unref>> formats(
        gdk_content_formats_union_deserialize_gtypes(gdk_content_formats_ref(gdk_drop_get_formats(drop))));
    return gdk_content_formats_contain_gtype(formats.get(), GDK_TYPE_FILE_LIST) != 0;
}

// The engine would tell the source of a drag that it may move the files, in between what the page's own drop target
// says and even after the end. Whether it takes a drag is asked of the first handler alone, which is the engine's: it
// is blocked, and asked for what has no files.
void leaveFilesOutOf(GtkWidget* view)
{
    const auto accept = g_signal_lookup("accept", GTK_TYPE_DROP_TARGET_ASYNC);
    const GObjectPtr<GListModel> controllers(gtk_widget_observe_controllers(view));
    for (guint i = 0; i < g_list_model_get_n_items(controllers.get()); ++i) {
        const GObjectPtr<GObject> controller(G_OBJECT(g_list_model_get_item(controllers.get(), i)));
        auto* target = controller.get();
        const auto engine = GTK_IS_DROP_TARGET_ASYNC(target)
            ? g_signal_handler_find(target, G_SIGNAL_MATCH_ID, accept, 0, nullptr, nullptr, nullptr)
            : 0;
        if (engine == 0)
            continue;
        g_signal_handler_block(target, engine);
        connectSignal<gboolean(GdkDrop*)>(target, "accept", [target, engine, accept](GdkDrop* drop) {
            if (hasFiles(drop))
                return FALSE;
            gboolean takes = FALSE;
            g_signal_handler_unblock(target, engine);
            g_signal_emit(target, accept, 0, drop, &takes);
            g_signal_handler_block(target, engine);
            return takes;
        });
    }
}

// The engine starts the page's process when it first needs it, which takes longer than all that the
// program does at its launch. A script in the empty page that comes first is such a need.
void launchProcess(WebKitWebView* view)
{
    webkit_web_view_evaluate_javascript(view, "", 0, nullptr, nullptr, nullptr, nullptr, nullptr);
}

}

WebView::WebView(const WebViewConfiguration& configuration)
    : m_controller(configuration.sharedUserContentController())
    , m_view(makeView(configuration))
{
    g_signal_connect(webkit_web_view_get_network_session(m_view.get()), "download-started", G_CALLBACK(refuseDownload),
                     nullptr);
    g_signal_connect(m_view.get(), "load-failed", G_CALLBACK(stayWithPage), nullptr);
    g_signal_connect(m_view.get(), "context-menu", G_CALLBACK(trimContextMenu), nullptr);
    leaveMenuKeyToPage(GTK_WIDGET(m_view.get()));
    m_loadChanged = connectScoped<void(int)>(m_view.get(), "load-changed", [this](int event) {
        takeRealTimePriorityFromThreads();
        if (event != WEBKIT_LOAD_COMMITTED)
            return;
        pageEnded();
        if (isEmptyPage(m_view.get()))
            load();
    });
    m_processEnded = connectScoped<void(int)>(m_view.get(), "web-process-terminated", [this](int) {
        pageEnded();
        m_recovery.processEnded();
    });
    launchProcess(m_view.get());
}

void WebView::pageEnded()
{
    if (m_pageEndHandler)
        m_pageEndHandler();
}

void WebView::loadFile(const std::filesystem::path& page, const std::filesystem::path& readAccessRoot)
{
    makeContentFilter(readAccessRoot, [self = weak_from_this(), page](auto* filter, const auto& error) {
        const auto view = self.lock();
        if (!view)
            return;
        if (filter == nullptr) {
            std::fprintf(stderr, "quillory: the page is not loaded, its access to files cannot be limited: %s\n",
                         error.c_str());
            return;
        }
        webkit_user_content_manager_add_filter(view->m_controller->manager(), filter);
        view->m_uri.reset(g_filename_to_uri(std::filesystem::absolute(page).c_str(), nullptr, nullptr));
        view->load();
    });
}

void WebView::load()
{
    if (m_uri)
        webkit_web_view_load_uri(m_view.get(), m_uri.get());
}

void WebView::evaluateJavaScript(Script script, EvaluationCompletion completion)
{
    m_scripts->evaluate(std::move(script), std::move(completion));
}

GObjectPtr<GtkWidget> WebView::makeWidget()
{
    auto box = sink(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0));
    auto* widget = GTK_WIDGET(m_view.get());
    setAccessibleName(widget, localized("Editor"));
    gtk_widget_set_hexpand(widget, TRUE);
    gtk_widget_set_vexpand(widget, TRUE);
    gtk_box_append(GTK_BOX(box.get()), widget);
    acceptFilesDroppedOn(box.get());
    return box;
}

// Asked before the engine, which would leave the page for the file.
void WebView::acceptFilesDroppedOn(GtkWidget* widget)
{
    leaveFilesOutOf(GTK_WIDGET(m_view.get()));
    auto* target = gtk_drop_target_new(GDK_TYPE_FILE_LIST, GDK_ACTION_COPY);
    auto* controller = GTK_EVENT_CONTROLLER(target);
    gtk_event_controller_set_propagation_phase(controller, GTK_PHASE_CAPTURE);
    m_drop = connectScoped<gboolean(const GValue*, double, double)>(
        target, "drop", [this](const GValue* value, double x, double y) {
            std::vector<std::filesystem::path> files;
            auto* list = static_cast<GdkFileList*>(g_value_get_boxed(value));
            const std::unique_ptr<GSList, FreedBy<g_slist_free>> entries(gdk_file_list_get_files(list));
            for (auto* entry = entries.get(); entry != nullptr; entry = entry->next) {
                if (const char* path = g_file_peek_path(G_FILE(entry->data)))
                    files.emplace_back(path);
            }
            noteDrop(x, y, files.size());
            if (m_fileDropHandler)
                m_fileDropHandler(files);
            return TRUE;
        });
    gtk_widget_add_controller(widget, controller);
}

void WebView::grabFocus()
{
    gtk_widget_grab_focus(GTK_WIDGET(m_view.get()));
}

void WebView::executeEditingCommand(const char* command)
{
    webkit_web_view_execute_editing_command(m_view.get(), command);
}

}
