#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "platform/Text.h"

namespace quillory {

// One node of what the page posted. Children are made when they are asked for: a page may post a tree
// that refers to itself, and most of a tree is never read. Main thread only.
class Value {
public:
    virtual ~Value() = default;

    // Of a text; null for anything else.
    virtual TextHandle text() const = 0;

    // Of an array; no elements for anything else.
    virtual std::size_t size() const = 0;
    virtual std::unique_ptr<Value> at(std::size_t index) const = 0;
    // Whether this is an array of string objects, found without making the elements.
    virtual bool holdsStringObjects() const = 0;

    // Whether this is an object of no more than 100,000 keys whose every value is a text.
    virtual bool isStringObject() const = 0;
    // Of an object; no keys for anything else. A key that is not there has the value null.
    virtual std::unique_ptr<Value> at(const std::string& key) const = 0;
};

}
