#include "platform/gtk/web/PageRequests.h"

#include <pango/pangocairo.h>
#include <webkit/webkit.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <nlohmann/json.hpp>
#include <set>
#include <span>
#include <string_view>

#include "platform/glib/AsyncReady.h"
#include "platform/glib/BoundedStream.h"
#include "platform/gtk/clipboard/ImageConversion.h"

namespace quillory::gtk {

namespace {

constexpr const char* scheme = "quillory";
constexpr std::string_view origin = "file://";
constexpr std::array<std::string_view, 4> aliases {"Monospace", "Sans", "Serif", "System-ui"};

constexpr std::chrono::seconds dropIsNew {30};

struct Drop {
    double x = 0;
    double y = 0;
    std::size_t files = 0; // that the page has not asked about
    std::chrono::steady_clock::time_point time;
};

Drop& lastDrop()
{
    static Drop drop;
    return drop;
}

using Request = std::shared_ptr<WebKitURISchemeRequest>;

void answer(const Request& request, guint status, const char* type = nullptr, const GBytesPtr& content = {})
{
    const GObjectPtr<GInputStream> stream(content ? g_memory_input_stream_new_from_bytes(content.get())
                                                  : g_memory_input_stream_new());
    const auto size = content ? static_cast<gint64>(g_bytes_get_size(content.get())) : 0;
    const GObjectPtr<WebKitURISchemeResponse> response(webkit_uri_scheme_response_new(stream.get(), size));
    webkit_uri_scheme_response_set_status(response.get(), status, nullptr);
    auto* headers = soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE);
    if (type != nullptr)
        soup_message_headers_set_content_type(headers, type, nullptr);
    soup_message_headers_append(headers, "Access-Control-Allow-Origin", origin.data());
    webkit_uri_scheme_response_set_http_headers(response.get(), headers);
    webkit_uri_scheme_request_finish_with_response(request.get(), response.get());
}

void listFonts(GTask* task, gpointer, gpointer, GCancellable*)
{
    const GObjectPtr<PangoFontMap> map(pango_cairo_font_map_new()); // of this thread alone
    PangoFontFamily** families = nullptr;
    int count = 0;
    pango_font_map_list_families(map.get(), &families, &count);
    const std::unique_ptr<PangoFontFamily*, FreedBy<g_free>> owner(families);
    std::set<std::string> names;
    for (auto* family : std::span(families, static_cast<std::size_t>(count)))
        names.emplace(pango_font_family_get_name(family));
    for (const auto alias : aliases)
        names.erase(std::string(alias));
    const auto list = nlohmann::json(names).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    g_task_return_pointer(task, g_bytes_new(list.data(), list.size()),
                          [](gpointer bytes) { g_bytes_unref(static_cast<GBytes*>(bytes)); });
}

void answerWithFonts(const Request& request)
{
    const auto listed = [request](GObject*, GAsyncResult* result) {
        const GBytesPtr list(static_cast<GBytes*>(g_task_propagate_pointer(G_TASK(result), nullptr)));
        answer(request, SOUP_STATUS_OK, "application/json", list);
    };
    const GObjectPtr<GTask> task(g_task_new(nullptr, nullptr, AsyncReady::call, AsyncReady::make(listed)));
    g_task_run_in_thread(task.get(), listFonts);
}

// Of a request that has none an empty one.
void readBody(const Request& request, std::function<void(GBytesPtr body)> completion)
{
    GObjectPtr<GInputStream> body(webkit_uri_scheme_request_get_http_body(request.get()));
    if (!body)
        return completion(GBytesPtr(g_bytes_new(nullptr, 0)));
    const auto read = [request, completion = std::move(completion)](GObject* stream, GAsyncResult* result) {
        if (g_output_stream_splice_finish(G_OUTPUT_STREAM(stream), result, nullptr) < 0)
            return answer(request, SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE);
        completion(GBytesPtr(g_memory_output_stream_steal_as_bytes(G_MEMORY_OUTPUT_STREAM(stream))));
    };
    const auto output = makeBoundedStream();
    g_output_stream_splice_async(output.get(), body.get(), closeBothStreams, G_PRIORITY_DEFAULT, nullptr,
                                 AsyncReady::call, AsyncReady::make(read));
}

void answerWithPNG(const Request& request)
{
    readBody(request, [request](GBytesPtr picture) {
        convertToPNG(std::move(picture), "came from the page", [request](const GBytesPtr& png) {
            answer(request, png ? SOUP_STATUS_OK : SOUP_STATUS_UNSUPPORTED_MEDIA_TYPE, "image/png", png);
        });
    });
}

void answerWithPDF(const Request& request, DocumentPrinter& printer)
{
    const std::string_view address(webkit_uri_scheme_request_get_uri(request.get()));
    auto pages = readPageSizes(address.substr(std::min(address.find('?'), address.size() - 1) + 1));
    if (pages.empty())
        return answer(request, SOUP_STATUS_BAD_REQUEST);
    readBody(request, [request, &printer, pages = std::move(pages)](GBytesPtr html) {
        printer.print(std::move(html), pages, [request](const GBytesPtr& pdf, const std::string& error) {
            if (pdf)
                return answer(request, SOUP_STATUS_OK, "application/pdf", pdf);
            const GBytesPtr reason(g_bytes_new(error.data(), error.size()));
            answer(request, SOUP_STATUS_INTERNAL_SERVER_ERROR, "text/plain; charset=utf-8", reason);
        });
    });
}

void answerAboutCopied(const Request& request, Pasteboard& pasteboard)
{
    if (std::string_view(webkit_uri_scheme_request_get_http_method(request.get())) == "GET")
        return pasteboard.offerPicture(
            [request](bool isWanted) { answer(request, isWanted ? SOUP_STATUS_OK : SOUP_STATUS_GONE); });
    readBody(request, [request, &pasteboard](GBytesPtr png) {
        pasteboard.setPicture(std::move(png));
        answer(request, SOUP_STATUS_OK);
    });
}

void answerWithDrop(const Request& request)
{
    auto& drop = lastDrop();
    if (drop.files == 0 || std::chrono::steady_clock::now() - drop.time > dropIsNew)
        return answer(request, SOUP_STATUS_GONE);
    --drop.files;
    const auto place = nlohmann::json {{"clientX", drop.x}, {"clientY", drop.y}}.dump();
    answer(request, SOUP_STATUS_OK, "application/json", GBytesPtr(g_bytes_new(place.data(), place.size())));
}

bool isFromFile(const Request& request)
{
    auto* headers = webkit_uri_scheme_request_get_http_headers(request.get());
    const char* from = headers != nullptr ? soup_message_headers_get_one(headers, "Origin") : nullptr;
    return from != nullptr && origin == from;
}

void answerRequest(const Request& request, Pasteboard& pasteboard, DocumentPrinter& printer)
{
    const std::string_view what(webkit_uri_scheme_request_get_path(request.get()));
    if (!isFromFile(request))
        answer(request, SOUP_STATUS_NOT_FOUND);
    else if (what == "fonts")
        answerWithFonts(request);
    else if (what == "png")
        answerWithPNG(request);
    else if (what == "dropped")
        answerWithDrop(request);
    else if (what == "copied")
        answerAboutCopied(request, pasteboard);
    else if (what == "pdf")
        answerWithPDF(request, printer);
    else
        answer(request, SOUP_STATUS_NOT_FOUND);
}

}

void noteDrop(double x, double y, std::size_t files)
{
    lastDrop() = {x, y, files, std::chrono::steady_clock::now()};
}

void answerPageRequests(Pasteboard& pasteboard, DocumentPrinter& printer)
{
    auto* context = webkit_web_context_get_default();
    using Received = BoxedFunction<void(WebKitURISchemeRequest*)>;
    const auto received = [](WebKitURISchemeRequest* request, gpointer box) { Received::of(box)(request); };
    auto* box = Received::make([&pasteboard, &printer](WebKitURISchemeRequest* request) {
        answerRequest(Request(retain(request)), pasteboard, printer);
    });
    webkit_web_context_register_uri_scheme(context, scheme, received, box, Received::free);
    // The page's own address is none of the scheme's.
    webkit_security_manager_register_uri_scheme_as_cors_enabled(webkit_web_context_get_security_manager(context),
                                                                scheme);
}

}
