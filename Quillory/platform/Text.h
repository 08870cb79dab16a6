#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace quillory {

// A block of memory that somebody else allocated; freed with the object.
class Bytes {
public:
    virtual ~Bytes() = default;
    virtual std::span<const std::byte> span() const = 0;
    // Nobody will read what is before `end` again: memory can be given back already.
    virtual void forgetBefore(std::size_t end) const { static_cast<void>(end); }
};

// A handle on a text of the page. It may be hundreds of MiB long and stays wherever the engine keeps
// it, so nothing is copied until it is asked for. Main thread only.
class Text {
public:
    virtual ~Text() = default;

    // A copy as UTF-8, NUL characters included; unpaired surrogates become U+FFFD.
    virtual std::string utf8() const = 0;

    // The bytes that the base64 text after the first comma stands for, in one new buffer. Null when
    // there is no comma, no memory for them, or the payload is not base64 to the letter: standard alphabet,
    // padded to a multiple of four characters, nothing else in it, white space included.
    virtual std::shared_ptr<const Bytes> base64AfterFirstComma() const = 0;
};

using TextHandle = std::shared_ptr<const Text>;

}
