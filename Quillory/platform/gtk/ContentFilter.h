#pragma once

#include <webkit/webkit.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace quillory::gtk {

// The engine lets a page that was loaded from a file read every file of the user. A content filter,
// which all that the page requests has to pass, leaves it the files below one folder.

// The rules for a folder, in the engine's content blocker format.
std::string contentFilterRules(const std::filesystem::path& readAccessRoot);

struct UserContentFilterUnref {
    void operator()(WebKitUserContentFilter* filter) const { webkit_user_content_filter_unref(filter); }
};
using UserContentFilterPtr = std::unique_ptr<WebKitUserContentFilter, UserContentFilterUnref>;

// Gets the filter, or null and what went wrong in words.
using ContentFilterCompletion = std::function<void(UserContentFilterPtr filter, const std::string& error)>;

// Compiles the rules, in other threads, or takes what an earlier run compiled. `completion` is called
// once, on a later turn of the main thread.
void makeContentFilter(const std::filesystem::path& readAccessRoot, ContentFilterCompletion completion);

}
