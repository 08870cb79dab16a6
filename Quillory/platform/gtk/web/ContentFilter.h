#pragma once

#include <webkit/webkit.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

namespace quillory::gtk {

// The engine lets a page that was loaded from a file read every file of the user. A content filter,
// which all that the page requests has to pass, leaves it the files below one folder, and keeps the page from
// being left for what is not there.

// Gets the filter, which it may keep a reference of, or null and what went wrong in words.
using ContentFilterCompletion = std::function<void(WebKitUserContentFilter* filter, const std::string& error)>;

// Gets the filter for a folder before it is asked for, and waits for it up to `patience`, dispatching what else the
// main thread has to do meanwhile.
void prepareContentFilter(const std::filesystem::path& readAccessRoot, std::chrono::milliseconds patience);

// Compiles the rules, in other threads, or takes what an earlier run compiled. `completion` is called
// once, on the main thread: at once if the filter was prepared, else on a later turn.
void makeContentFilter(const std::filesystem::path& readAccessRoot, ContentFilterCompletion completion);

}
