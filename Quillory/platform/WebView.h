#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Value.h"

namespace quillory {

// A message that the page posted with `window.webkit.messageHandlers.NAME.postMessage(body)`.
struct ScriptMessage {
    std::string name;
    std::shared_ptr<const Value> body;
};

class UserContentController;

class ScriptMessageHandler {
public:
    virtual ~ScriptMessageHandler() = default;
    virtual void didReceiveScriptMessage(UserContentController& controller, const ScriptMessage& message) = 0;
};

class UserContentController {
public:
    virtual ~UserContentController() = default;
    // Holds `handler` strongly, once for each name.
    virtual void addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler, const std::string& name) = 0;
};

// What a web view is made with; later changes do not reach it.
class WebViewConfiguration {
public:
    virtual ~WebViewConfiguration() = default;
    // The preference known is "allowFileAccessFromFileURLs"; another name is a programming error.
    virtual void setPreference(const std::string& key, bool value) = 0;
    virtual UserContentController& userContentController() = 0;
};

// Declared by whoever wants to be told of navigations; every decision takes the platform's default.
class NavigationDelegate {
public:
    virtual ~NavigationDelegate() = default;
};

// A call of a function of the page with one text in apostrophes, which is written piece by piece: a long one is never
// there as a whole script.
struct Script {
    std::string_view head; // to the first apostrophe, with it
    // Appends the next piece (UTF-8), which has no escape and no character cut in two. False after the last.
    std::function<bool(std::string& literal)> appendNext;
    std::string_view tail; // from the last apostrophe on, with it
};

// One web page and the process it runs in. Main thread only.
class WebView {
public:
    // Gets no value if the script ran to its end (whatever it evaluated to), else one line that names
    // the error's domain, code and message.
    using EvaluationCompletion = std::function<void(std::optional<std::string> error)>;

    virtual ~WebView() = default;

    // `delegate` is not owned.
    virtual void setNavigationDelegate(std::weak_ptr<NavigationDelegate> delegate) = 0;

    // Loads the page, which may read every file below `readAccessRoot` and no other. If that cannot be
    // guaranteed nothing is loaded and one line on standard error says so. Returns at once.
    virtual void loadFile(const std::filesystem::path& page, const std::filesystem::path& readAccessRoot) = 0;

    // Gets the files that the user drops on the page, which the engine keeps from it.
    using FileDropHandler = std::function<void(const std::vector<std::filesystem::path>& files)>;
    virtual void setFileDropHandler(FileDropHandler handler) = 0;

    // Told when the page ends because another document takes its place, the same one anew or its process is gone.
    virtual void setPageEndHandler(std::function<void()> handler) = 0;

    // Runs `script` in the page, after those before it. `completion` is called exactly once, on a later turn of the
    // main thread, also when the page's process has died.
    virtual void evaluateJavaScript(Script script, EvaluationCompletion completion) = 0;
};

}
