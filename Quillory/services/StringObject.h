#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/Value.h"

namespace quillory {

using StringObject = std::map<std::string, TextHandle>;

// An object whose every value is a text; none for any other value, and for one of more than 100,000 keys. The texts
// are not copied.
std::optional<StringObject> readStringObject(const Value& value);

// The text under `key`, null if there is none.
TextHandle textForKey(const StringObject& object, const std::string& key);

}
