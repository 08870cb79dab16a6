#pragma once

#include <optional>
#include <string>

namespace quillory {

// The path of the user's directory for temporary files, with a separator at its end: $TMPDIR, else
// $XDG_RUNTIME_DIR, else a directory of the user's own in /tmp, which is made if it is missing. None if
// what stands in its place there belongs to somebody else or lets others in.
std::optional<std::string> temporaryDirectory();

}
