#include "services/Reply.h"

#include <nlohmann/json.hpp>

namespace quillory {

Reply::Reply(std::weak_ptr<LoadedPage> page, const Value& body)
    : m_page(std::move(page))
{
    const auto textUnder = [&](const char* key) -> std::optional<std::string> {
        const auto text = body.at(key)->text();
        return text ? std::optional(text->utf8()) : std::nullopt;
    };
    m_id = textUnder("reply");
    if (m_id)
        m_handle = textUnder("file");
}

std::optional<std::filesystem::path> Reply::namedFile() const
{
    const auto page = m_page.lock();
    return page && m_handle ? page->fileWithHandle(*m_handle) : std::nullopt;
}

void Reply::saved(const std::filesystem::path& file) const
{
    send("saved", file.filename(), {}, file);
}

void Reply::opened(const std::filesystem::path& file) const
{
    send("opened", file.filename(), {}, file);
}

void Reply::savedInto(const std::filesystem::path& folder) const
{
    send("saved", folder.filename(), {});
}

void Reply::cancelled(const std::string& name) const
{
    send("cancelled", name, {});
}

void Reply::failed(const std::string& name, const std::string& reason) const
{
    send("failed", name, reason);
}

void Reply::send(const char* result, const std::string& name, const std::string& reason,
                 const std::filesystem::path& file) const
{
    const auto loaded = m_id ? m_page.lock() : nullptr;
    const auto page = loaded ? loaded->page.lock() : nullptr;
    if (!page)
        return;
    nlohmann::ordered_json answer {{"reply", *m_id}, {"result", result}, {"name", name}};
    if (!reason.empty())
        answer["reason"] = reason;
    if (!file.empty())
        answer["file"] = loaded->handleFor(file);
    // A file's name may be any bytes.
    page->sendResultToPage(answer.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

}
