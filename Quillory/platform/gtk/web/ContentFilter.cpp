#include "platform/gtk/web/ContentFilter.h"

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/glib/AsyncReady.h"
#include "platform/glib/GObjectPtr.h"
#include "platform/glib/Timeout.h"

namespace quillory::gtk {

namespace fs = std::filesystem;

namespace {

using Store = GObjectPtr<WebKitUserContentFilterStore>;

nlohmann::json rule(const char* action, const std::string& pattern)
{
    return {{"trigger", {{"url-filter", pattern}, {"url-filter-is-case-sensitive", true}}},
            {"action", {{"type", action}}}};
}

// In the engine's content blocker format.
std::string rulesFor(const fs::path& readAccessRoot)
{
    const GStringPtr uri(g_filename_to_uri(fs::absolute(readAccessRoot).lexically_normal().c_str(), nullptr, nullptr));
    const GStringPtr literal(g_regex_escape_string(uri.get(), -1));
    const auto folder = std::string("^") + literal.get() + "/";
    return nlohmann::json {
        rule("block", "^file:"),
        // Nor may anything else come in the page's place.
        {{"trigger", {{"url-filter", ".*"}, {"resource-type", {"document"}}, {"load-context", {"top-frame"}}}},
         {"action", {{"type", "block"}}}},
        rule("ignore-previous-rules", folder),
        // The engine compares URLs, the file system paths: an encoded separator is one for the second only, and
        // an encoded NUL is its end there.
        rule("block", folder + "[^?#]*%2[Ff]"),
        rule("block", folder + "[^?#]*%5[Cc]"),
        rule("block", folder + "[^?#]*%00"),
    }
        .dump();
}

// The filter for one folder, from one place after the other until it can be kept in one.
class ContentFilter : public std::enable_shared_from_this<ContentFilter> {
public:
    explicit ContentFilter(const fs::path& readAccessRoot)
        : m_rules(rulesFor(readAccessRoot))
    {
        const GStringPtr hash(g_compute_checksum_for_string(G_CHECKSUM_SHA256, m_rules.c_str(), -1));
        m_identifier = std::string("page-folder-") + hash.get();
    }

    void load()
    {
        const auto folder = fs::path(g_get_user_cache_dir()) / g_get_prgname() / "content-filters";
        const Store store(webkit_user_content_filter_store_new(folder.c_str()));
        const auto loaded = [self = shared_from_this()](GObject* source, GAsyncResult* result) {
            auto* cache = WEBKIT_USER_CONTENT_FILTER_STORE(source);
            self->m_filter.reset(webkit_user_content_filter_store_load_finish(cache, result, nullptr));
            if (self->m_filter)
                self->finish();
            else
                self->compile(cache);
        };
        webkit_user_content_filter_store_load(store.get(), m_identifier.c_str(), nullptr, AsyncReady::call,
                                              AsyncReady::make(loaded));
    }

    bool isDone() const { return m_isDone; }

    void whenDone(ContentFilterCompletion completion)
    {
        m_completion = std::move(completion);
        if (m_isDone)
            finish();
    }

private:
    void compile(WebKitUserContentFilterStore* store)
    {
        const auto compiled = [self = shared_from_this()](GObject* source, GAsyncResult* result) {
            GError* error = nullptr;
            self->m_filter.reset(
                webkit_user_content_filter_store_save_finish(WEBKIT_USER_CONTENT_FILTER_STORE(source), result, &error));
            const GErrorPtr owner(error);
            if (error != nullptr && self->m_temporaryFolder.empty() && self->compileInTemporaryFolder())
                return;
            // What was compiled is mapped into memory by now.
            std::error_code ignored;
            fs::remove_all(self->m_temporaryFolder, ignored);
            self->m_error = error != nullptr ? error->message : "";
            self->finish();
        };
        const GBytesPtr rules(g_bytes_new(m_rules.data(), m_rules.size()));
        webkit_user_content_filter_store_save(store, m_identifier.c_str(), rules.get(), nullptr, AsyncReady::call,
                                              AsyncReady::make(compiled));
    }

    // The cache cannot be written: the filter is compiled for this run alone.
    bool compileInTemporaryFolder()
    {
        const GStringPtr folder(g_dir_make_tmp("quillory-XXXXXX", nullptr));
        if (!folder)
            return false;
        m_temporaryFolder = folder.get();
        compile(Store(webkit_user_content_filter_store_new(folder.get())).get());
        return true;
    }

    void finish()
    {
        m_isDone = true;
        if (m_completion)
            m_completion(m_filter.get(), m_error);
    }

    std::string m_rules;
    std::string m_identifier;
    fs::path m_temporaryFolder;
    bool m_isDone = false;
    std::unique_ptr<WebKitUserContentFilter, FreedBy<webkit_user_content_filter_unref>> m_filter;
    std::string m_error;
    ContentFilterCompletion m_completion;
};

std::shared_ptr<ContentFilter> begin(const fs::path& readAccessRoot)
{
    auto filter = std::make_shared<ContentFilter>(readAccessRoot);
    filter->load();
    return filter;
}

// Until they are asked for.
std::map<fs::path, std::shared_ptr<ContentFilter>>& prepared()
{
    static std::map<fs::path, std::shared_ptr<ContentFilter>> filters;
    return filters;
}

}

void prepareContentFilter(const fs::path& readAccessRoot, std::chrono::milliseconds patience)
{
    const auto filter = prepared()[readAccessRoot] = begin(readAccessRoot);
    bool waiting = true;
    Timeout timeout;
    timeout.start(patience, [&] { return waiting = false; });
    while (waiting && !filter->isDone())
        g_main_context_iteration(nullptr, TRUE);
}

void makeContentFilter(const fs::path& readAccessRoot, ContentFilterCompletion completion)
{
    const auto ahead = prepared().extract(readAccessRoot);
    const auto filter = ahead ? ahead.mapped() : begin(readAccessRoot);
    filter->whenDone(std::move(completion));
}

}
