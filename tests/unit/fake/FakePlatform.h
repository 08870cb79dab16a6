#pragma once

#include <deque>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "platform/Platform.h"

// A platform without a desktop. What is asked of it is written down in `steps`, in order and in words,
// log lines as "log: …"; what it answers is set by the test.
namespace quillory::fake {

using Steps = std::vector<std::string>;

inline std::string whole(const Script& script)
{
    std::string text(script.head);
    while (script.appendNext(text)) { }
    return text += script.tail;
}

inline std::string text(Size size)
{
    return std::to_string(static_cast<int>(size.width)) + "x" + std::to_string(static_cast<int>(size.height));
}

// Everything that a fake object says it was told.
class Recorder {
public:
    explicit Recorder(Steps& steps)
        : m_steps(steps)
    {
    }
    void step(const std::string& text) const { m_steps.push_back(text); }

private:
    Steps& m_steps;
};

struct FakeWindow final : Window, Recorder {
    using Recorder::Recorder;
    void setTitle(const std::string& title) override { step("title " + title); }
    void setContentView(const FramedView& content) override
    {
        step("content of at least " + text(content.minSize));
        if (const auto* hosted = std::get_if<HostedWebView>(&content.view))
            webView = hosted->makeView();
    }
    void setContentMinSize(Size size) override { step("min size " + text(size)); }
    void center() override { step("center"); }
    void setDelegate(WindowDelegate* windowDelegate) override
    {
        step("delegate");
        delegate = windowDelegate;
    }
    void makeKeyAndOrderFront() override { step("makeKeyAndOrderFront"); }
    void orderFrontRegardless() override { step("orderFrontRegardless"); }
    void orderOut() override { step("orderOut"); }
    void setIsVisible(bool isVisible) override { step(isVisible ? "visible" : "hidden"); }
    bool isMiniaturized() const override { return miniaturized; }
    void deminiaturize() override { step("deminiaturize"); }

    std::shared_ptr<WebView> webView;
    WindowDelegate* delegate = nullptr;
    bool miniaturized = false;
};

struct FakeConfiguration final : WebViewConfiguration, UserContentController, Recorder {
    using Recorder::Recorder;
    void setPreference(const std::string& key, bool value) override { step(key + (value ? " on" : " off")); }
    UserContentController& userContentController() override { return *this; }
    void addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler, const std::string& name) override
    {
        step("handler " + name);
        handlers[name] = std::move(handler);
    }

    std::map<std::string, std::shared_ptr<ScriptMessageHandler>> handlers;
};

struct FakeWebView final : WebView, Recorder {
    using Recorder::Recorder;
    void setNavigationDelegate(std::weak_ptr<NavigationDelegate> delegate) override
    {
        step(delegate.expired() ? "no navigation delegate" : "navigation delegate");
    }
    void loadFile(const std::filesystem::path& page, const std::filesystem::path& readAccessRoot) override
    {
        step("load " + page.filename().string() + " of " + readAccessRoot.filename().string());
    }
    void evaluateJavaScript(Script script, EvaluationCompletion completion) override
    {
        step("evaluate");
        scripts.push_back(whole(script));
        completions.push_back(std::move(completion));
    }
    void setFileDropHandler(FileDropHandler handler) override { dropFiles = std::move(handler); }
    void setPageEndHandler(std::function<void()> handler) override { endPage = std::move(handler); }

    // The page posts a message; one under a name without a handler goes to any of them.
    void post(const std::string& name, std::shared_ptr<const Value> body)
    {
        auto& handlers = dynamic_cast<FakeConfiguration&>(*configuration).handlers;
        const auto& handler = handlers.contains(name) ? handlers[name] : handlers.begin()->second;
        handler->didReceiveScriptMessage(configuration->userContentController(), {name, std::move(body)});
    }

    std::unique_ptr<WebViewConfiguration> configuration;
    FileDropHandler dropFiles;
    std::function<void()> endPage;
    std::vector<std::string> scripts;
    std::vector<EvaluationCompletion> completions;
};

// A panel of either kind or an alert. Once it is open the platform has a copy.
struct FakePanel final : SavePanel, OpenPanel, Alert {
    explicit FakePanel(std::deque<FakePanel>& open)
        : all(open)
    {
    }
    void setNameFieldStringValue(const std::string& name) override { settings["name"] = name; }
    void setCanCreateDirectories(bool can) override { settings["create directories"] = can; }
    void setAllowedContentTypes(std::vector<ContentType> types) override
    {
        for (const auto& type : types)
            settings["types"].push_back(type.mimeType);
    }
    void setCanChooseFiles(bool can) override { settings["files"] = can; }
    void setCanChooseDirectories(bool can) override { settings["directories"] = can; }
    void setAllowsMultipleSelection(bool allows) override { settings["multiple"] = allows; }
    void setMessage(const std::string& message) override { settings["message"] = message; }
    void setPrompt(const std::string& prompt) override { settings["prompt"] = prompt; }
    void setMessageText(const std::string& message) override { settings["message"] = message; }
    void setInformativeText(const std::string& informative) override { settings["text"] = informative; }
    void setAlertStyle(AlertStyle style) override { settings["style"] = style; }
    void addButtonWithTitle(const std::string& title) override { settings["buttons"].push_back(title); }
    void beginWithCompletionHandler(PanelCompletion handler) override
    {
        completion = std::move(handler);
        all.push_back(*this);
    }
    void runModal(std::function<void(int)> answered) override { open(true, std::move(answered)); }
    void show(std::function<void(int)> answered) override { open(false, std::move(answered)); }
    void open(bool modal, std::function<void(int)> answered)
    {
        settings["modal"] = modal;
        answer = std::move(answered);
        all.push_back(*this);
    }

    std::deque<FakePanel>& all;
    nlohmann::json settings;
    PanelCompletion completion;
    std::function<void(int)> answer;
};

struct FakeTimer final : Timer, Recorder {
    using Recorder::Recorder;
    void invalidate() override
    {
        step("invalidate timer");
        block.reset();
    }

    std::shared_ptr<std::function<void()>> block;
};

struct FakeTap final : EventTap, Recorder {
    using Recorder::Recorder;
    void enable(bool enable) override
    {
        step(enable ? "enable tap" : "disable tap");
        enabled = enable;
    }
    bool isEnabled() const override { return enabled; }

    std::function<const TapEvent*(std::uint32_t type, const TapEvent* event)> send;
    bool enabled = false;
};

struct FakeSource final : RunLoopSource, Recorder {
    using Recorder::Recorder;
    void addToMainRunLoop() override { step("add source"); }
    void removeFromMainRunLoop() override { step("remove source"); }
};

struct FakeRunningApplication final : RunningApplication, Recorder {
    using Recorder::Recorder;
    void activate() override { step("activate other instance"); }
};

struct FakePlatform : Platform,
                      Log,
                      MainQueue,
                      Bundle,
                      Application,
                      Pasteboard,
                      PasteboardReading,
                      Workspace,
                      Accessibility {
    Log& log() override { return *this; }
    void print(std::string_view line) override
    {
        lines.emplace_back(line);
        steps.push_back("log: " + lines.back());
    }

    MainQueue& mainQueue() override { return *this; }
    void async(std::function<void()> work) override { queue.push_back(std::move(work)); }
    void asyncAfter(std::chrono::milliseconds delay, std::function<void()> work) override
    {
        steps.push_back("after " + std::to_string(delay.count()) + " ms");
        async(std::move(work));
    }

    Bundle& mainBundle() override { return *this; }
    std::optional<std::filesystem::path> resourceURL() const override { return resources; }
    std::optional<std::string> infoString(const std::string& key) const override
    {
        return info.contains(key) ? std::optional(info.at(key)) : std::nullopt;
    }

    Application& application() override { return *this; }
    int run(ApplicationDelegate& delegate, const Scene& scene) override
    {
        delegate.applicationWillFinishLaunching();
        if (!terminating) {
            delegate.applicationDidFinishLaunching();
            whileRunning(delegate, scene);
        }
        delegate.applicationWillTerminate();
        return 0;
    }
    void terminate() override
    {
        steps.emplace_back("terminate");
        terminating = true;
    }
    void activate() override { steps.emplace_back("activate"); }
    void activateIgnoringOtherApps(bool ignoring) override
    {
        steps.emplace_back(ignoring ? "activate ignoring others" : "activate");
    }

    Pasteboard& generalPasteboard() override { return *this; }
    std::shared_ptr<PasteboardReading> read() override { return {std::shared_ptr<void>(), this}; }
    void clearContents() override
    {
        steps.emplace_back("clear pasteboard");
        copied.clear();
    }
    void setString(const TextHandle& string, const std::string& type) override
    {
        steps.push_back("copy as " + type);
        copied[type] = string->utf8();
    }
    void stringForType(const std::string& type, StringCompletion completion) override
    {
        async([=, this] { completion(copied.contains(type) ? std::optional(copied[type]) : std::nullopt); });
    }
    void imageAsPNG(DataCompletion completion) override
    {
        async([=, this] { completion(copiedImage); });
    }

    Workspace& sharedWorkspace() override { return *this; }
    void openURL(const std::string& url) override { steps.push_back("open " + url); }

    Accessibility& accessibility() override { return *this; }
    bool isProcessTrusted() override { return trusted; }
    bool isProcessTrustedWithOptions(bool prompt) override
    {
        steps.emplace_back(prompt ? "check trust with prompt" : "check trust");
        return trusted;
    }
    void whenTrusted(std::function<void()> function) override { granted = std::move(function); }
    std::shared_ptr<Alert> makePermissionAlert() override { return makeAlert(); }

    std::optional<Screen> mainScreen() override { return screen; }
    std::vector<std::unique_ptr<RunningApplication>> runningApplications(const std::string& identifier) override
    {
        steps.push_back("look for " + identifier);
        std::vector<std::unique_ptr<RunningApplication>> others;
        while (others.size() < otherInstances)
            others.push_back(std::make_unique<FakeRunningApplication>(steps));
        return others;
    }
    std::unique_ptr<Window> makeWindow(Size size, unsigned style) override
    {
        steps.push_back("window " + text(size) + " style " + std::to_string(style));
        auto made = std::make_unique<FakeWindow>(steps);
        windows.push_back(made.get());
        return made;
    }
    std::unique_ptr<WebViewConfiguration> makeWebViewConfiguration() override
    {
        return std::make_unique<FakeConfiguration>(steps);
    }
    std::shared_ptr<WebView> makeWebView(std::unique_ptr<WebViewConfiguration> configuration) override
    {
        steps.emplace_back("web view");
        auto made = std::make_shared<FakeWebView>(steps);
        made->configuration = std::move(configuration);
        return made;
    }
    std::shared_ptr<SavePanel> makeSavePanel() override { return std::make_shared<FakePanel>(panels); }
    std::shared_ptr<OpenPanel> makeOpenPanel() override { return std::make_shared<FakePanel>(panels); }
    std::shared_ptr<Alert> makeAlert() override { return std::make_shared<FakePanel>(alerts); }
    void inBackground(std::function<void()> work, std::function<void()> done) override
    {
        work();
        done();
    }
    std::unique_ptr<Timer> scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                                         std::function<void()> block) override
    {
        steps.push_back((repeats ? "timer every " : "timer after ") + std::to_string(interval.count()) + " ms");
        auto made = std::make_unique<FakeTimer>(steps);
        timers.push_back(made->block = std::make_shared<std::function<void()>>(std::move(block)));
        return made;
    }
    std::shared_ptr<EventTap> makeEventTap(std::uint64_t mask, EventTapCallback callback, void* userData) override
    {
        steps.push_back("make tap on " + std::to_string(mask));
        auto made = tapsAllowed ? std::make_shared<FakeTap>(steps) : nullptr;
        if (made)
            made->send = [=](auto type, const auto* event) { return callback(nullptr, type, event, userData); };
        tap = made;
        return made;
    }
    std::shared_ptr<RunLoopSource> makeRunLoopSource(const std::shared_ptr<EventTap>&) override
    {
        return sourcesAllowed ? std::make_shared<FakeSource>(steps) : nullptr;
    }

    // Does all work that is waiting on the main queue, and what that adds to it.
    void runMainQueue()
    {
        while (!queue.empty())
            runNext();
    }
    void runNext()
    {
        std::exchange(queue.front(), {})();
        queue.pop_front();
    }
    // What happens in the course of `action`.
    template<typename Action> Steps stepsOf(Action action)
    {
        steps.clear();
        lines.clear();
        action();
        return steps;
    }

    Steps steps;
    Steps lines; // of the log, among the steps

    // What it answers
    std::map<std::string, std::string> info {{"CFBundleIdentifier", "com.quillory.Quillory"}};
    std::optional<std::filesystem::path> resources;
    std::optional<Screen> screen;
    std::size_t otherInstances = 0;
    bool trusted = false;
    std::function<void()> granted; // what is called when the user gives the permission
    bool tapsAllowed = true;
    bool sourcesAllowed = true;
    std::map<std::string, std::string> copied; // by type
    std::shared_ptr<const Bytes> copiedImage;
    // What happens between the launch and the end of the run.
    std::function<void(ApplicationDelegate&, const Scene&)> whileRunning = [](auto&, auto&) {};
    bool terminating = false;

    // What it made
    std::vector<FakeWindow*> windows;
    std::deque<FakePanel> panels;
    std::deque<FakePanel> alerts;
    std::vector<std::weak_ptr<std::function<void()>>> timers;
    std::weak_ptr<FakeTap> tap;
    std::deque<std::function<void()>> queue;
};

}
