#include "platform/gtk/web/ContentFilter.h"

#include <glib/gstdio.h>

#include <nlohmann/json.hpp>

#include <utility>

#include "platform/glib/GObjectPtr.h"
#include "platform/glib/Guarded.h"

namespace quillory::gtk {

namespace fs = std::filesystem;

namespace {

// A literal text in the filter's pattern language. A URL has ASCII characters only.
std::string escapedPattern(std::string_view text)
{
    std::string pattern;
    for (const char character : text) {
        if (!g_ascii_isalnum(character) && std::string_view("/%-_~:").find(character) == std::string_view::npos)
            pattern += '\\';
        pattern += character;
    }
    return pattern;
}

nlohmann::json rule(const char* action, const std::string& pattern)
{
    return {{"trigger", {{"url-filter", pattern}, {"url-filter-is-case-sensitive", true}}},
            {"action", {{"type", action}}}};
}

// One attempt to get a filter, in one folder after the other until it can be kept in one.
class Attempt {
public:
    Attempt(const fs::path& readAccessRoot, ContentFilterCompletion completion)
        : m_rules(contentFilterRules(readAccessRoot))
        , m_completion(std::move(completion))
    {
        const GStringPtr hash(g_compute_checksum_for_string(G_CHECKSUM_SHA256, m_rules.c_str(), -1));
        m_identifier = std::string("page-folder-") + hash.get();
    }

    static void start(std::unique_ptr<Attempt> attempt)
    {
        attempt->m_store.reset(webkit_user_content_filter_store_new(
            (fs::path(g_get_user_cache_dir()) / g_get_prgname() / "content-filters").c_str()));
        auto* store = attempt->m_store.get();
        const auto* identifier = attempt->m_identifier.c_str();
        webkit_user_content_filter_store_load(store, identifier, nullptr, loaded, attempt.release());
    }

private:
    static void loaded(GObject* source, GAsyncResult* result, gpointer data)
    {
        std::unique_ptr<Attempt> attempt(static_cast<Attempt*>(data));
        UserContentFilterPtr filter(
            webkit_user_content_filter_store_load_finish(WEBKIT_USER_CONTENT_FILTER_STORE(source), result, nullptr));
        if (filter)
            attempt->complete(std::move(filter), {});
        else
            compile(std::move(attempt));
    }

    static void compile(std::unique_ptr<Attempt> attempt)
    {
        auto* store = attempt->m_store.get();
        const auto* identifier = attempt->m_identifier.c_str();
        const GBytesPtr rules(g_bytes_new(attempt->m_rules.data(), attempt->m_rules.size()));
        webkit_user_content_filter_store_save(store, identifier, rules.get(), nullptr, compiled, attempt.release());
    }

    static void compiled(GObject* source, GAsyncResult* result, gpointer data)
    {
        std::unique_ptr<Attempt> attempt(static_cast<Attempt*>(data));
        GError* error = nullptr;
        UserContentFilterPtr filter(
            webkit_user_content_filter_store_save_finish(WEBKIT_USER_CONTENT_FILTER_STORE(source), result, &error));
        const GErrorPtr owner(error);
        if (filter) {
            attempt->discardTemporaryFolder();
            attempt->complete(std::move(filter), {});
        } else if (attempt->m_temporaryFolder.empty() && attempt->useTemporaryFolder()) {
            compile(std::move(attempt));
        } else {
            attempt->discardTemporaryFolder();
            attempt->complete(nullptr, error->message);
        }
    }

    void complete(UserContentFilterPtr filter, const std::string& error) const
    {
        guarded([&] { m_completion(std::move(filter), error); });
    }

    // The cache cannot be written: the filter is compiled for this run alone.
    bool useTemporaryFolder()
    {
        const GStringPtr folder(g_dir_make_tmp("quillory-XXXXXX", nullptr));
        if (!folder)
            return false;
        m_temporaryFolder = folder.get();
        m_store.reset(webkit_user_content_filter_store_new(folder.get()));
        return true;
    }

    // What was compiled is mapped into memory by now.
    void discardTemporaryFolder() const
    {
        std::error_code error;
        if (!m_temporaryFolder.empty())
            fs::remove_all(m_temporaryFolder, error);
    }

    std::string m_rules;
    std::string m_identifier;
    ContentFilterCompletion m_completion;
    GObjectPtr<WebKitUserContentFilterStore> m_store;
    fs::path m_temporaryFolder;
};

// A filter that is got ahead, and who asked for it meanwhile.
struct Prepared {
    fs::path readAccessRoot;
    bool done = false;
    UserContentFilterPtr filter;
    std::string error;
    ContentFilterCompletion completion;

    void finish(UserContentFilterPtr made, const std::string& message)
    {
        if (completion)
            return completion(std::move(made), message);
        done = true;
        filter = std::move(made);
        error = message;
    }
};

std::shared_ptr<Prepared>& prepared()
{
    static std::shared_ptr<Prepared> filter;
    return filter;
}

}

std::string contentFilterRules(const fs::path& readAccessRoot)
{
    const GStringPtr uri(g_filename_to_uri(fs::absolute(readAccessRoot).lexically_normal().c_str(), nullptr, nullptr));
    const auto folder = "^" + escapedPattern(uri.get()) + "/";
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

void prepareContentFilter(const fs::path& readAccessRoot, std::chrono::milliseconds patience)
{
    const auto ahead = std::make_shared<Prepared>();
    ahead->readAccessRoot = readAccessRoot;
    prepared() = ahead;
    Attempt::start(std::make_unique<Attempt>(readAccessRoot, [ahead](UserContentFilterPtr filter, const auto& error) {
        ahead->finish(std::move(filter), error);
    }));

    bool waiting = true;
    const auto stopWaiting = [](gpointer flag) -> gboolean {
        *static_cast<bool*>(flag) = false;
        return G_SOURCE_REMOVE;
    };
    const auto timeout = g_timeout_add(static_cast<guint>(patience.count()), stopWaiting, &waiting);
    while (waiting && !ahead->done)
        g_main_context_iteration(nullptr, TRUE);
    if (waiting)
        g_source_remove(timeout);
}

void makeContentFilter(const fs::path& readAccessRoot, ContentFilterCompletion completion)
{
    const auto ahead = std::exchange(prepared(), nullptr);
    if (!ahead || ahead->readAccessRoot != readAccessRoot)
        Attempt::start(std::make_unique<Attempt>(readAccessRoot, std::move(completion)));
    else if (ahead->done)
        completion(std::move(ahead->filter), ahead->error);
    else
        ahead->completion = std::move(completion);
}

}
