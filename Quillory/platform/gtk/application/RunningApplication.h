#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/RunningApplication.h"

namespace quillory::gtk {

// A process that owns the program's name on the session bus.
class RunningApplication final : public quillory::RunningApplication {
public:
    // None without a session bus, or with no such process on it.
    static std::vector<std::unique_ptr<quillory::RunningApplication>> withIdentifier(const std::string& identifier);

    explicit RunningApplication(std::string identifier)
        : m_identifier(std::move(identifier))
    {
    }

    void activate() override;

private:
    std::string m_identifier;
};

}
