#pragma once

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace quillory::fake {

// A platform without a desktop. What is asked of it is written down in `steps`, in order and in words,
// log lines as "log: …"; what it answers is set by the test.
class FakePlatform;

// Everything that a fake object says it was told.
class Recorder {
public:
    explicit Recorder(std::vector<std::string>& steps)
        : m_steps(steps)
    {
    }
    void step(const std::string& text) const { m_steps.push_back(text); }

private:
    std::vector<std::string>& m_steps;
};

class FakeApplication final : public Application, Recorder {
public:
    using Recorder::Recorder;
    int run(ApplicationDelegate& delegate, const Scene& scene) override;
    void terminate() override;
    void activate() override { step("activate"); }
    void activateIgnoringOtherApps(bool ignoring) override { step(ignoring ? "activate ignoring others" : "activate"); }

    // What happens between the launch and the end of the run.
    std::function<void(ApplicationDelegate&, const Scene&)> whileRunning;
    bool terminating = false;
};

class FakeWindow final : public Window, Recorder {
public:
    FakeWindow(std::vector<std::string>& steps, Size size, unsigned style);
    void setTitle(const std::string& text) override;
    void setContentView(const FramedView& content) override;
    void setContentMinSize(Size size) override;
    void center() override { step("center"); }
    void setDelegate(WindowDelegate* windowDelegate) override;
    void makeKeyAndOrderFront() override;
    void orderFrontRegardless() override { step("orderFrontRegardless"); }
    void orderOut() override;
    void setIsVisible(bool isVisible) override;
    bool isMiniaturized() const override { return miniaturized; }
    void deminiaturize() override;

    std::optional<FramedView> view;
    std::shared_ptr<WebView> webView;
    WindowDelegate* delegate = nullptr;
    bool visible = false;
    bool miniaturized = false;
};

class FakeWebView final : public WebView, Recorder {
public:
    FakeWebView(std::vector<std::string>& steps, std::unique_ptr<WebViewConfiguration> configuration);
    void setNavigationDelegate(std::weak_ptr<NavigationDelegate> delegate) override;
    void loadFile(const std::filesystem::path& page, const std::filesystem::path& readAccessRoot) override;
    void evaluateJavaScript(std::string script, EvaluationCompletion completion) override;

    void setFileDropHandler(FileDropHandler handler) override { dropFiles = std::move(handler); }
    void setPageEndHandler(std::function<void()> handler) override { endPage = std::move(handler); }

    FileDropHandler dropFiles;
    std::function<void()> endPage;
    std::vector<std::string> scripts;
    std::vector<EvaluationCompletion> completions;
    // The page posts a message; one under a name without a handler goes to any of them.
    void post(const std::string& name, std::shared_ptr<const Value> body);

private:
    std::unique_ptr<WebViewConfiguration> m_configuration;
};

// One panel that is open.
struct FakePanel {
    std::map<std::string, std::string> settings;
    PanelCompletion completion;
};

class FakePasteboard final : public Pasteboard, Recorder {
public:
    using Recorder::Recorder;
    void clearContents() override;
    void setString(const TextHandle& text, const std::string& type) override;
    void stringForType(const std::string& type, StringCompletion completion) override;
    void imageAsPNG(DataCompletion completion) override;

    std::map<std::string, std::string> strings;
    std::shared_ptr<const Bytes> image;
    bool answersLater = false; // when the test runs `answers`
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

struct FakeTimer {
    std::chrono::milliseconds interval {};
    bool repeats = false;
    std::function<void()> block;
    bool valid = true;
};

struct FakeTapState {
    std::uint64_t mask = 0;
    EventTapCallback callback = nullptr;
    void* userData = nullptr;
    bool enabled = false;
};

class FakePlatform final : public Platform,
                           public Log,
                           public MainQueue,
                           public Bundle,
                           public Workspace,
                           public Accessibility {
public:
    FakePlatform();
    ~FakePlatform() override;

    Log& log() override { return *this; }
    MainQueue& mainQueue() override { return *this; }
    Bundle& mainBundle() override { return *this; }
    FakeApplication& application() override { return m_application; }
    FakePasteboard& generalPasteboard() override { return m_pasteboard; }
    Workspace& sharedWorkspace() override { return *this; }
    Accessibility& accessibility() override { return *this; }
    std::optional<Screen> mainScreen() override { return screen; }
    std::vector<std::unique_ptr<RunningApplication>> runningApplications(const std::string& identifier) override;
    std::unique_ptr<Window> makeWindow(Size contentSize, unsigned styleMask) override;
    std::unique_ptr<WebViewConfiguration> makeWebViewConfiguration() override;
    std::shared_ptr<WebView> makeWebView(std::unique_ptr<WebViewConfiguration> configuration) override;
    std::shared_ptr<SavePanel> makeSavePanel() override;
    std::shared_ptr<OpenPanel> makeOpenPanel() override;
    std::shared_ptr<Alert> makeAlert() override;
    std::unique_ptr<Timer> scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                                         std::function<void()> block) override;
    std::shared_ptr<EventTap> makeEventTap(std::uint64_t mask, EventTapCallback callback, void* userData) override;
    std::shared_ptr<RunLoopSource> makeRunLoopSource(const std::shared_ptr<EventTap>& tap) override;

    void print(std::string_view text) override;
    void async(std::function<void()> work) override;
    void asyncAfter(std::chrono::milliseconds delay, std::function<void()> work) override;
    std::optional<std::filesystem::path> resourceURL() const override { return resources; }
    std::optional<std::string> bundleIdentifier() const override { return infoString("CFBundleIdentifier"); }
    std::optional<std::string> infoString(const std::string& key) const override;
    void openURL(const std::string& url) override { steps.push_back("open " + url); }
    bool isProcessTrusted() override { return trusted; }
    bool isProcessTrustedWithOptions(bool prompt) override;

    // Does all work that is waiting on the main queue, and what that adds to it.
    void runMainQueue();
    // The log lines among the steps.
    std::vector<std::string> lines() const;
    FakeWindow& window(std::size_t index) { return *windows.at(index); }

    std::vector<std::string> steps;

    // What it answers
    std::map<std::string, std::string> info {{"CFBundleIdentifier", "com.quillory.Quillory"}};
    std::optional<std::filesystem::path> resources;
    std::optional<Screen> screen;
    std::size_t otherInstances = 0;
    bool trusted = false;
    bool tapsAllowed = true;
    bool sourcesAllowed = true;

    // What it made
    std::vector<FakeWindow*> windows;
    std::weak_ptr<FakeWebView> webView;
    std::deque<std::shared_ptr<FakePanel>> panels;
    std::deque<std::shared_ptr<FakeAlert>> alerts;
    std::vector<std::shared_ptr<FakeTimer>> timers;
    std::weak_ptr<FakeTapState> tap;
    std::deque<std::function<void()>> queue;
    std::vector<std::pair<std::chrono::milliseconds, std::function<void()>>> delayed;

private:
    FakeApplication m_application {steps};
    FakePasteboard m_pasteboard {steps};
};

}
