#include "platform/gtk/web/DocumentPrinter.h"

#include <gtk/gtkunixprint.h>
#include <webkit/webkit.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <utility>

#include "platform/Localization.h"
#include "platform/glib/GObjectPtr.h"
#include "platform/glib/SignalConnection.h"
#include "platform/gtk/application/MainQueue.h"
#include "platform/gtk/application/SoftwareRendering.h"
#include "platform/gtk/web/EngineThreads.h"
#include "platform/gtk/web/PrintedFile.h"

namespace quillory::gtk {

namespace {

// The engine rounds paper to whole points, and a page's height down to whole pixels, four of which are three points.
// So the paper is a square, larger than any page by as much as the sheets on it are smaller.
constexpr unsigned pixelsPerStep = 4;
constexpr unsigned pointsPerStep = 3;

unsigned stepsOfPaper(const std::vector<PageSize>& pages)
{
    unsigned side = 0;
    for (const auto& [width, height] : pages)
        side = std::max({side, width, height});
    return side / pointsPerStep + 2;
}

// Puts each page into the lower left corner of the paper. The body is as wide as the paper, or the engine would scale
// it.
std::string styleFor(const std::vector<PageSize>& pages)
{
    const auto paper = stepsOfPaper(pages) * pixelsPerStep;
    std::ostringstream style;
    style << "body{margin:0;width:" << paper << "px}body>*{display:block;box-sizing:content-box;margin:0;border:0;"
          << "position:relative;top:" << pixelsPerStep << "px}body>*+*{break-before:page}";
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const auto& [width, height] = pages[i];
        style << "body>:nth-child(" << i + 1 << "){width:" << width << "pt;height:" << height << "pt;padding:calc("
              << paper - pixelsPerStep << "px - " << height << "pt) 0 0}";
    }
    return style.str();
}

GObjectPtr<WebKitWebView> makeView(const std::string& style)
{
    const GObjectPtr<WebKitSettings> settings(webkit_settings_new());
    webkit_settings_set_enable_javascript(settings.get(), FALSE);
    if (rendersInSoftware())
        webkit_settings_set_hardware_acceleration_policy(settings.get(), WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
    const GObjectPtr<WebKitUserContentManager> manager(webkit_user_content_manager_new());
    auto* sheet = webkit_user_style_sheet_new(style.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
                                              WEBKIT_USER_STYLE_LEVEL_AUTHOR, nullptr, nullptr);
    webkit_user_content_manager_add_style_sheet(manager.get(), sheet);
    webkit_user_style_sheet_unref(sheet);
    return sink(WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "settings", settings.get(), "user-content-manager",
                                             manager.get(), "default-content-security-policy",
                                             "default-src 'none'; img-src data:; style-src 'unsafe-inline'", nullptr)));
}

// The name of the printer that writes files, another one in each language. Empty if there is none.
std::string filePrinter()
{
    std::string name;
    const auto look = [](GtkPrinter* printer, gpointer found) -> gboolean {
        if (gtk_printer_is_virtual(printer) == 0 || gtk_printer_accepts_pdf(printer) == 0)
            return FALSE;
        *static_cast<std::string*>(found) = gtk_printer_get_name(printer);
        return TRUE;
    };
    gtk_enumerate_printers(look, &name, nullptr, FALSE); // printers that would have to be waited for are none
    return name;
}

GObjectPtr<GtkPrintSettings> settingsFor(const std::string& printer, const PrintedFile& file)
{
    GObjectPtr<GtkPrintSettings> settings(gtk_print_settings_new());
    gtk_print_settings_set_printer(settings.get(), printer.c_str());
    gtk_print_settings_set(settings.get(), GTK_PRINT_SETTINGS_OUTPUT_FILE_FORMAT, "pdf");
    gtk_print_settings_set(settings.get(), GTK_PRINT_SETTINGS_OUTPUT_URI, file.uri().c_str());
    return settings;
}

GObjectPtr<GtkPageSetup> setupFor(unsigned side)
{
    GObjectPtr<GtkPageSetup> setup(gtk_page_setup_new());
    auto* paper = gtk_paper_size_new_custom("page", "page", side, side, GTK_UNIT_POINTS);
    gtk_page_setup_set_paper_size(setup.get(), paper);
    gtk_paper_size_free(paper);
    for (auto* setMargin : {gtk_page_setup_set_top_margin, gtk_page_setup_set_bottom_margin,
                            gtk_page_setup_set_left_margin, gtk_page_setup_set_right_margin})
        setMargin(setup.get(), 0, GTK_UNIT_POINTS);
    return setup;
}

}

// One document on its way to a file.
class DocumentPrinter::Job : public std::enable_shared_from_this<Job> {
public:
    Job(GBytesPtr html, std::vector<PageSize> pages, Completion completion)
        : m_html(std::move(html))
        , m_style(styleFor(pages))
        , m_side(stepsOfPaper(pages) * pointsPerStep)
        , m_file(std::make_shared<PrintedFile>(m_side, std::move(pages)))
        , m_completion(std::move(completion))
    {
    }

    std::shared_ptr<PrintedFile> file() const { return m_file; }

    // `printed` is called when nothing more will come into the file.
    void start(std::function<void()> printed)
    {
        m_printed = std::move(printed);
        m_view = makeView(m_style);
        m_loadChanged = connectScoped<void(int)>(m_view.get(), "load-changed", [this](int event) {
            takeRealTimePriorityFromThreads();
            if (event == WEBKIT_LOAD_FINISHED)
                print();
        });
        m_processEnded = connectScoped<void(int)>(m_view.get(), "web-process-terminated",
                                                  [this](int) { end(localized("The engine has ended")); });
        webkit_web_view_load_bytes(m_view.get(), std::exchange(m_html, nullptr).get(), "text/html", "utf-8", nullptr);
    }

    // With what came into the file.
    void complete(GBytesPtr pdf)
    {
        m_view.reset();
        if (m_error.empty() && !pdf)
            m_error = localized("The pages could not be printed");
        m_completion(m_error.empty() ? std::move(pdf) : nullptr, m_error);
    }

private:
    void print()
    {
        const auto printer = filePrinter();
        if (printer.empty() || m_file->uri().empty())
            return end(localized("There is no printer that writes files"));
        const GObjectPtr<WebKitPrintOperation> operation(webkit_print_operation_new(m_view.get()));
        webkit_print_operation_set_print_settings(operation.get(), settingsFor(printer, *m_file).get());
        webkit_print_operation_set_page_setup(operation.get(), setupFor(m_side).get());
        m_failed = connectScoped<void(GError*)>(operation.get(), "failed",
                                                [this](const GError* error) { m_error = error->message; });
        // The engine holds the operation while it is at work, and may not begin at all.
        const auto ended = [](gpointer box, GObject*) { BoxedFunction<void()>::take(box)(); };
        g_object_weak_ref(G_OBJECT(operation.get()), ended, BoxedFunction<void()>::make([weak = weak_from_this()] {
                              if (const auto job = weak.lock())
                                  job->end();
                          }));
        webkit_print_operation_print(operation.get());
    }

    // On a later turn: what calls this is still at work with the view.
    void end(const std::string& error = {})
    {
        if (!error.empty())
            m_error = error;
        m_loadChanged.reset();
        if (m_printed)
            MainQueue().async(std::exchange(m_printed, nullptr));
    }

    GBytesPtr m_html;
    std::string m_style;
    unsigned m_side;
    std::shared_ptr<PrintedFile> m_file;
    Completion m_completion;
    std::function<void()> m_printed;
    std::string m_error;
    GObjectPtr<WebKitWebView> m_view;
    SignalConnection m_loadChanged;
    SignalConnection m_processEnded;
    SignalConnection m_failed;
};

DocumentPrinter::DocumentPrinter(BackgroundQueue& backgroundQueue)
    : m_backgroundQueue(backgroundQueue)
{
}

void DocumentPrinter::print(GBytesPtr html, std::vector<PageSize> pages, Completion completion)
{
    m_jobs.push_back(std::make_shared<Job>(std::move(html), std::move(pages), std::move(completion)));
    if (m_jobs.size() == 1)
        startNext();
}

void DocumentPrinter::startNext()
{
    m_jobs.front()->start([this] {
        const auto pdf = std::make_shared<GBytesPtr>();
        m_backgroundQueue.add([file = m_jobs.front()->file(), pdf] { *pdf = file->content(); },
                              [this, pdf] {
                                  const auto job = std::move(m_jobs.front());
                                  m_jobs.pop_front();
                                  if (!m_jobs.empty())
                                      startNext();
                                  job->complete(std::move(*pdf));
                              });
    });
}

}
