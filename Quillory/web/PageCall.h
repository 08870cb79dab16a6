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

// Appends `text` so that a single-quoted script literal has exactly that value: backslashes,
// apostrophes, line feeds and carriage returns get a backslash, all else stays.
void escapeForSingleQuotedScript(std::string_view text, std::string& script);

// The whole script, built in one buffer of its final size.
std::string scriptForText(const PageCall& call, std::string_view argument);
std::string scriptForDataURL(const PageCall& call, const DataURL& argument);

}
