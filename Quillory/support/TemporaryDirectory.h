#pragma once

#include <optional>
#include <string>

namespace quillory {

// The path of the user's directory for temporary files, with a separator at its end: the first of
// $XDG_RUNTIME_DIR, $TMPDIR and a directory in /tmp, which is made if it is missing, that is the user's own and
// lets nobody else in. None if none is: what others can write to, they could hold against the user.
std::optional<std::string> temporaryDirectory();

}
