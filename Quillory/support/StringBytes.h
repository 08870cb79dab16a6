#pragma once

#include <string>
#include <string_view>

#include "platform/Text.h"

namespace quillory {

// Bytes that were read into a string. What was forgotten reads as zeros.
class StringBytes final : public Bytes {
public:
    explicit StringBytes(std::string bytes)
        : m_bytes(std::move(bytes))
    {
    }

    std::span<const std::byte> span() const override { return std::as_bytes(std::span(m_bytes)); }
    std::string_view view() const { return m_bytes; }
    void forgetBefore(std::size_t end) const override;

private:
    std::string m_bytes;
    mutable std::size_t m_forgotten = 0;
};

}
