#pragma once

#include <algorithm>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "platform/Platform.h"

// A platform without a desktop. What is asked of it is written down in `steps`, in order and in words,
// log lines as "log: …"; what it answers is set by the test.
namespace quillory::fake {

using Steps = std::vector<std::string>;

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

struct FakeApplication final : Application, Recorder {
    using Recorder::Recorder;
    int run(ApplicationDelegate& delegate, const Scene& scene) override
    {
        delegate.applicationWillFinishLaunching();
        if (!terminating) {
            delegate.applicationDidFinishLaunching();
            if (whileRunning)
                whileRunning(delegate, scene);
        }
        delegate.applicationWillTerminate();
        return 0;
    }
    void terminate() override
    {
        step("terminate");
        terminating = true;
    }
    void activate() override { step("activate"); }
    void activateIgnoringOtherApps(bool ignoring) override { step(ignoring ? "activate ignoring others" : "activate"); }

    // What happens between the launch and the end of the run.
    std::function<void(ApplicationDelegate&, const Scene&)> whileRunning;
    bool terminating = false;
};

struct FakeWindow final : Window, Recorder {
    using Recorder::Recorder;
    void setTitle(const std::string& title) override { step("title " + title); }
    void setContentView(const FramedView& content) override
    {
        step("content");
        view = content;
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

    std::optional<FramedView> view;
    std::shared_ptr<WebView> webView;
    WindowDelegate* delegate = nullptr;
    bool miniaturized = false;
};

struct FakeConfiguration final : WebViewConfiguration, UserContentController, Recorder {
    using Recorder::Recorder;
    void setPreference(const std::string& key, bool value) override
    {
        step("preference " + key + (value ? " on" : " off"));
    }
    UserContentController& userContentController() override { return *this; }
    void addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler, const std::string& name) override
    {
        step("handler " + name);
        handlers[name] = std::move(handler);
    }

    std::map<std::string, std::shared_ptr<ScriptMessageHandler>> handlers;
};

struct FakeWebView final : WebView, Recorder {
    FakeWebView(Steps& steps, std::unique_ptr<WebViewConfiguration> with)
        : Recorder(steps)
        , configuration(std::move(with))
    {
        step("web view");
    }
    void setNavigationDelegate(std::weak_ptr<NavigationDelegate> delegate) override
    {
        step(delegate.expired() ? "no navigation delegate" : "navigation delegate");
    }
    void loadFile(const std::filesystem::path& page, const std::filesystem::path& readAccessRoot) override
    {
        step("load " + page.filename().string() + " of " + readAccessRoot.filename().string());
    }
    void evaluateJavaScript(std::string script, EvaluationCompletion completion) override
    {
        step("evaluate");
        scripts.push_back(std::move(script));
        completions.push_back(std::move(completion));
    }
    void setFileDropHandler(FileDropHandler handler) override { dropFiles = std::move(handler); }
    void setPageEndHandler(std::function<void()> handler) override { endPage = std::move(handler); }

    // The page posts a message; one under a name without a handler goes to any of them.
    void post(const std::string& name, std::shared_ptr<const Value> body)
    {
        auto& handlers = dynamic_cast<FakeConfiguration&>(*configuration).handlers;
        const auto named = handlers.find(name);
        (named == handlers.end() ? handlers.begin() : named)
            ->second->didReceiveScriptMessage(configuration->userContentController(), {name, std::move(body)});
    }

    std::unique_ptr<WebViewConfiguration> configuration;
    FileDropHandler dropFiles;
    std::function<void()> endPage;
    std::vector<std::string> scripts;
    std::vector<EvaluationCompletion> completions;
};

// One panel that is open.
struct FakePanel {
    std::map<std::string, std::string> settings;
    PanelCompletion completion;
};

// Both kinds of panel.
class PanelFake final : public SavePanel, public OpenPanel {
public:
    explicit PanelFake(std::deque<FakePanel>& shown)
        : m_shown(shown)
    {
    }
    void setNameFieldStringValue(const std::string& name) override { m_panel.settings["name"] = name; }
    void setCanCreateDirectories(bool can) override { set("create directories", can); }
    void setAllowedContentTypes(std::vector<ContentType> types) override
    {
        auto& list = m_panel.settings["types"];
        for (const auto& type : types)
            list += (list.empty() ? "" : " ") + type.mimeType;
    }
    void setCanChooseFiles(bool can) override { set("files", can); }
    void setCanChooseDirectories(bool can) override { set("directories", can); }
    void setAllowsMultipleSelection(bool allows) override { set("multiple", allows); }
    void setMessage(const std::string& message) override { m_panel.settings["message"] = message; }
    void setPrompt(const std::string& prompt) override { m_panel.settings["prompt"] = prompt; }
    void beginWithCompletionHandler(PanelCompletion completion) override
    {
        m_panel.completion = std::move(completion);
        m_shown.push_back(std::move(m_panel));
    }

private:
    void set(const char* name, bool value) { m_panel.settings[name] = value ? "yes" : "no"; }

    std::deque<FakePanel>& m_shown;
    FakePanel m_panel;
};

struct FakePasteboard final : Pasteboard, PasteboardReading, Recorder {
    using Recorder::Recorder;
    std::shared_ptr<PasteboardReading> read() override { return {std::shared_ptr<void>(), this}; }
    void clearContents() override
    {
        step("clear pasteboard");
        strings.clear();
    }
    void setString(const TextHandle& string, const std::string& type) override
    {
        step("copy as " + type);
        strings[type] = string->utf8();
    }
    void stringForType(const std::string& type, StringCompletion completion) override
    {
        answer([this, type, completion = std::move(completion)] {
            const auto entry = strings.find(type);
            completion(entry == strings.end() ? std::nullopt : std::optional(entry->second));
        });
    }
    void imageAsPNG(DataCompletion completion) override
    {
        answer([this, completion = std::move(completion)] { completion(image); });
    }
    void answer(std::function<void()> work)
    {
        answers.push_back(std::move(work));
        if (!answersLater)
            answerNext();
    }
    void answerNext()
    {
        const auto work = std::move(answers.front());
        answers.pop_front();
        work();
    }

    std::map<std::string, std::string> strings;
    std::shared_ptr<const Bytes> image;
    bool answersLater = false; // when the test says so
    std::deque<std::function<void()>> answers;
};

// An alert that is open.
struct FakeAlert {
    std::string messageText;
    std::string informativeText;
    AlertStyle style = AlertStyle::warning;
    std::vector<std::string> buttons;
    std::function<void(int)> answer;
};

class AlertFake final : public Alert, Recorder {
public:
    AlertFake(Steps& steps, std::deque<FakeAlert>& shown)
        : Recorder(steps)
        , m_shown(shown)
    {
    }
    void setMessageText(const std::string& message) override { m_alert.messageText = message; }
    void setInformativeText(const std::string& informative) override { m_alert.informativeText = informative; }
    void setAlertStyle(AlertStyle style) override { m_alert.style = style; }
    void addButtonWithTitle(const std::string& title) override { m_alert.buttons.push_back(title); }
    void runModal(std::function<void(int)> answered) override { open("alert", std::move(answered)); }
    void show(std::function<void(int)> answered) override { open("alert beside the window", std::move(answered)); }

private:
    void open(const char* what, std::function<void(int)> answered)
    {
        step(what);
        m_alert.answer = std::move(answered);
        m_shown.push_back(std::move(m_alert));
    }

    std::deque<FakeAlert>& m_shown;
    FakeAlert m_alert;
};

struct FakeTimer {
    std::chrono::milliseconds interval {};
    bool repeats = false;
    std::function<void()> block;
    bool valid = true;
};

struct TimerFake final : Timer, Recorder {
    TimerFake(Steps& steps, std::shared_ptr<FakeTimer> of)
        : Recorder(steps)
        , timer(std::move(of))
    {
    }
    ~TimerFake() override { timer->valid = false; }
    void invalidate() override
    {
        step("invalidate timer");
        timer->valid = false;
    }

    std::shared_ptr<FakeTimer> timer;
};

struct FakeTap final : EventTap, Recorder {
    FakeTap(Steps& steps, std::uint64_t events, EventTapCallback function, void* data)
        : Recorder(steps)
        , mask(events)
        , callback(function)
        , userData(data)
    {
    }
    void enable(bool enable) override
    {
        step(enable ? "enable tap" : "disable tap");
        enabled = enable;
    }
    bool isEnabled() const override { return enabled; }

    std::uint64_t mask;
    EventTapCallback callback;
    void* userData;
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

struct FakePlatform final : Platform, Log, MainQueue, Bundle, Workspace, Accessibility {
    Log& log() override { return *this; }
    MainQueue& mainQueue() override { return *this; }
    Bundle& mainBundle() override { return *this; }
    FakeApplication& application() override { return m_application; }
    FakePasteboard& generalPasteboard() override { return m_pasteboard; }
    Workspace& sharedWorkspace() override { return *this; }
    Accessibility& accessibility() override { return *this; }
    std::optional<Screen> mainScreen() override { return screen; }
    std::vector<std::unique_ptr<RunningApplication>> runningApplications(const std::string& identifier) override
    {
        steps.push_back("look for " + identifier);
        std::vector<std::unique_ptr<RunningApplication>> others(otherInstances);
        std::ranges::generate(others, [this] { return std::make_unique<FakeRunningApplication>(steps); });
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
        return std::make_shared<FakeWebView>(steps, std::move(configuration));
    }
    std::shared_ptr<SavePanel> makeSavePanel() override { return std::make_shared<PanelFake>(panels); }
    std::shared_ptr<OpenPanel> makeOpenPanel() override { return std::make_shared<PanelFake>(panels); }
    std::shared_ptr<Alert> makeAlert() override { return std::make_shared<AlertFake>(steps, alerts); }
    std::unique_ptr<Timer> scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                                         std::function<void()> block) override
    {
        timers.push_back(std::make_shared<FakeTimer>(FakeTimer {interval, repeats, std::move(block)}));
        return std::make_unique<TimerFake>(steps, timers.back());
    }
    std::shared_ptr<EventTap> makeEventTap(std::uint64_t mask, EventTapCallback callback, void* userData) override
    {
        steps.emplace_back("make tap");
        auto made = tapsAllowed ? std::make_shared<FakeTap>(steps, mask, callback, userData) : nullptr;
        tap = made;
        return made;
    }
    std::shared_ptr<RunLoopSource> makeRunLoopSource(const std::shared_ptr<EventTap>&) override
    {
        return sourcesAllowed ? std::make_shared<FakeSource>(steps) : nullptr;
    }
    void print(std::string_view line) override { steps.push_back("log: " + std::string(line)); }
    void async(std::function<void()> work) override { queue.push_back(std::move(work)); }
    void asyncAfter(std::chrono::milliseconds delay, std::function<void()> work) override
    {
        steps.push_back("after " + std::to_string(delay.count()) + " ms");
        delayed.push_back(std::move(work));
    }
    std::optional<std::filesystem::path> resourceURL() const override { return resources; }
    std::optional<std::string> bundleIdentifier() const override { return infoString("CFBundleIdentifier"); }
    std::optional<std::string> infoString(const std::string& key) const override
    {
        return info.contains(key) ? std::optional(info.at(key)) : std::nullopt;
    }
    void openURL(const std::string& url) override { steps.push_back("open " + url); }
    bool isProcessTrusted() override { return trusted; }
    bool isProcessTrustedWithOptions(bool prompt) override
    {
        steps.emplace_back(prompt ? "check trust with prompt" : "check trust");
        return trusted;
    }
    void whenTrusted(std::function<void()> function) override { granted = std::move(function); }
    std::shared_ptr<Alert> makePermissionAlert() override { return makeAlert(); }

    // Does all work that is waiting on the main queue, and what that adds to it.
    void runMainQueue()
    {
        for (; !queue.empty(); queue.pop_front())
            queue.front()();
    }
    // The log lines among the steps.
    Steps lines() const
    {
        Steps found;
        for (const auto& step : steps) {
            if (step.starts_with("log: "))
                found.push_back(step.substr(5));
        }
        return found;
    }

    Steps steps;

    // What it answers
    std::map<std::string, std::string> info {{"CFBundleIdentifier", "com.quillory.Quillory"}};
    std::optional<std::filesystem::path> resources;
    std::optional<Screen> screen;
    std::size_t otherInstances = 0;
    bool trusted = false;
    std::function<void()> granted; // what is called when the user gives the permission
    bool tapsAllowed = true;
    bool sourcesAllowed = true;

    // What it made
    std::vector<FakeWindow*> windows;
    std::deque<FakePanel> panels;
    std::deque<FakeAlert> alerts;
    std::vector<std::shared_ptr<FakeTimer>> timers;
    std::weak_ptr<FakeTap> tap;
    std::deque<std::function<void()>> queue;
    std::vector<std::function<void()>> delayed;

private:
    FakeApplication m_application {steps};
    FakePasteboard m_pasteboard {steps};
};

}
