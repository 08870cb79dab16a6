#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "platform/Value.h"
#include "services/LoadedPage.h"

namespace quillory {

// Tells the page how one of its requests ended, if its body asks for that with a text under "reply". To be
// answered once. Nobody is told when the page that asked has been replaced.
class Reply {
public:
    // Not wanted.
    Reply() = default;
    Reply(std::weak_ptr<LoadedPage> page, const Value& body);

    // The file under the body's key "file"; none for an unknown one. Only a page that wants replies has that key.
    bool namesFile() const { return m_handle.has_value(); }
    std::optional<std::filesystem::path> namedFile() const;

    // The page gets a handle for the file.
    void saved(const std::filesystem::path& file) const;
    void opened(const std::filesystem::path& file) const;
    void savedInto(const std::filesystem::path& folder) const;
    // With the name of the file as far as it is known.
    void cancelled(const std::string& name = {}) const;
    void failed(const std::string& name, const std::string& reason) const;

private:
    void send(const char* result, const std::string& name, const std::string& reason,
              const std::filesystem::path& file = {}) const;

    std::weak_ptr<LoadedPage> m_page;
    std::optional<std::string> m_id;
    std::optional<std::string> m_handle;
};

}
