#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "platform/Text.h"

namespace quillory {

// One node of what the page posted. Children are made when they are asked for: a page may post a tree
// that refers to itself, and most of a tree is never read. Main thread only.
class Value {
public:
    enum class Kind { null, boolean, number, text, array, object };

    virtual ~Value() = default;
    virtual Kind kind() const = 0;

    // Of a text; null for every other kind.
    virtual TextHandle text() const = 0;

    // Of an array; no elements for every other kind.
    virtual std::size_t size() const = 0;
    virtual std::unique_ptr<Value> at(std::size_t index) const = 0;
    // Whether every element is an object whose every value is a text, found without making the elements.
    virtual bool holdsStringObjects() const = 0;

    // Of an object; no keys for every other kind. A key that is not there has a null value.
    virtual std::vector<std::string> keys() const = 0;
    virtual std::unique_ptr<Value> at(const std::string& key) const = 0;
};

}
