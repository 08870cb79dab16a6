#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "services/DataURL.h"

namespace quillory::web {

// How one function of the page is called: `functionName('argument');`.
struct PageCall {
    std::string_view prefix;
    std::string_view successLine;
    std::string_view failurePrefix;
};

inline constexpr PageCall fileContentCall {"window.handleNativeFileContent('", "✅ File content sent to JavaScript",
                                           "❌ JavaScript error: "};
inline constexpr PageCall imageCall {"window.handleNativeImageContent('", "✅ Image sent to JavaScript",
                                     "❌ JavaScript error: "};
inline constexpr PageCall pasteContentCall {"window.handleNativePasteContent('", "✅ Paste content sent to JavaScript",
                                            "❌ JavaScript paste error: "};

// What it calls is not logged.
inline constexpr PageCall resultCall {"window.handleNativeResult('", {}, {}};

// Makes of `text` what a single-quoted script literal needs in order to have exactly that value:
// backslashes, apostrophes, line feeds and carriage returns get a backslash, all else stays. `before` and
// `after` are put around it. A text that has room for all that is rewritten where it is.
void escapeForSingleQuotedScript(std::string& text, std::string_view before, std::string_view after);

// The whole script, in the buffer of `argument` if that has the room, else in one of its final size.
std::string scriptForText(const PageCall& call, std::string argument);
// The whole script, in one buffer of its final size.
std::string scriptForDataURL(const PageCall& call, const DataURL& argument);

}
