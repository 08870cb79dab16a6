#pragma once

#include <string>

#include "platform/Text.h"

namespace quillory {

// Bytes that were read into a string.
class StringBytes final : public Bytes {
public:
    explicit StringBytes(std::string bytes)
        : m_bytes(std::move(bytes))
    {
    }

    std::span<const std::byte> span() const override { return std::as_bytes(std::span(m_bytes)); }

private:
    std::string m_bytes;
};

}
