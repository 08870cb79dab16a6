#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/WebView.h"
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

// In bytes of the text or the image.
inline constexpr std::size_t usualPiece = 3 << 18;

// A call with exactly that text, valid UTF-8: backslashes, apostrophes, line feeds and carriage returns get a
// backslash, all else stays.
Script scriptForText(const PageCall& call, std::string argument, std::size_t pieceSize = usualPiece);
// A call with the data URL as its text.
Script scriptForDataURL(const PageCall& call, DataURL argument);

}
