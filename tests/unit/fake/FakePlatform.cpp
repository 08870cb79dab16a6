#include "FakePlatform.h"

namespace quillory::fake {

namespace {

std::string text(Size size)
{
    return std::to_string(static_cast<int>(size.width)) + "x" + std::to_string(static_cast<int>(size.height));
}

std::string text(const std::vector<ContentType>& types)
{
    std::string list;
    for (const auto& type : types)
        list += (list.empty() ? "" : " ") + type.mimeType;
    return list;
}

class FakeConfiguration final : public WebViewConfiguration, public UserContentController {
public:
    explicit FakeConfiguration(std::vector<std::string>& steps)
        : m_steps(steps)
    {
    }
    void setPreference(const std::string& key, bool value) override
    {
        m_steps.push_back("preference " + key + (value ? " on" : " off"));
    }
    UserContentController& userContentController() override { return *this; }
    void addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler, const std::string& name) override
    {
        m_steps.push_back("handler " + name);
        handlers.emplace_back(name, std::move(handler));
    }

    std::vector<std::pair<std::string, std::shared_ptr<ScriptMessageHandler>>> handlers;

private:
    std::vector<std::string>& m_steps;
};

class PanelBase {
public:
    explicit PanelBase(FakePlatform& platform)
        : m_platform(platform)
    {
    }
    void set(const std::string& name, const std::string& value) { m_panel->settings[name] = value; }
    void set(const std::string& name, bool value) { set(name, std::string(value ? "yes" : "no")); }
    void show(PanelCompletion completion)
    {
        m_panel->completion = std::move(completion);
        m_platform.panels.push_back(m_panel);
    }

private:
    FakePlatform& m_platform;
    std::shared_ptr<FakePanel> m_panel = std::make_shared<FakePanel>();
};

class SavePanelFake final : public SavePanel, PanelBase {
public:
    using PanelBase::PanelBase;
    void setNameFieldStringValue(const std::string& name) override { set("name", name); }
    void setCanCreateDirectories(bool can) override { set("create directories", can); }
    void setAllowedContentTypes(std::vector<ContentType> types) override { set("types", text(types)); }
    void beginWithCompletionHandler(PanelCompletion completion) override { show(std::move(completion)); }
};

class OpenPanelFake final : public OpenPanel, PanelBase {
public:
    using PanelBase::PanelBase;
    void setCanChooseFiles(bool can) override { set("files", can); }
    void setCanChooseDirectories(bool can) override { set("directories", can); }
    void setAllowsMultipleSelection(bool allows) override { set("multiple", allows); }
    void setCanCreateDirectories(bool can) override { set("create directories", can); }
    void setAllowedContentTypes(std::vector<ContentType> types) override { set("types", text(types)); }
    void setMessage(const std::string& message) override { set("message", message); }
    void setPrompt(const std::string& prompt) override { set("prompt", prompt); }
    void beginWithCompletionHandler(PanelCompletion completion) override { show(std::move(completion)); }
};

class AlertFake final : public Alert {
public:
    explicit AlertFake(FakePlatform& platform)
        : m_platform(platform)
    {
    }
    void setMessageText(const std::string& message) override { m_alert->messageText = message; }
    void setInformativeText(const std::string& informative) override { m_alert->informativeText = informative; }
    void setAlertStyle(AlertStyle style) override { m_alert->style = style; }
    void addButtonWithTitle(const std::string& title) override { m_alert->buttons.push_back(title); }
    void runModal(std::function<void(int)> answered) override { open("alert", std::move(answered)); }
    void show(std::function<void(int)> answered) override { open("alert beside the window", std::move(answered)); }

private:
    void open(const char* step, std::function<void(int)> answered)
    {
        m_platform.steps.emplace_back(step);
        m_alert->answer = std::move(answered);
        m_platform.alerts.push_back(m_alert);
    }

    FakePlatform& m_platform;
    std::shared_ptr<FakeAlert> m_alert = std::make_shared<FakeAlert>();
};

class TimerFake final : public Timer {
public:
    TimerFake(FakePlatform& platform, std::shared_ptr<FakeTimer> timer)
        : m_platform(platform)
        , m_timer(std::move(timer))
    {
    }
    ~TimerFake() override { m_timer->valid = false; }
    void invalidate() override
    {
        m_platform.steps.emplace_back("invalidate timer");
        m_timer->valid = false;
    }

private:
    FakePlatform& m_platform;
    std::shared_ptr<FakeTimer> m_timer;
};

class TapFake final : public EventTap, Recorder {
public:
    TapFake(std::vector<std::string>& steps, std::shared_ptr<FakeTapState> state)
        : Recorder(steps)
        , m_state(std::move(state))
    {
    }
    void enable(bool enabled) override
    {
        step(enabled ? "enable tap" : "disable tap");
        m_state->enabled = enabled;
    }
    bool isEnabled() const override { return m_state->enabled; }

private:
    std::shared_ptr<FakeTapState> m_state;
};

class SourceFake final : public RunLoopSource, Recorder {
public:
    using Recorder::Recorder;
    void addToMainRunLoop() override { step("add source"); }
    void removeFromMainRunLoop() override { step("remove source"); }
};

class RunningFake final : public RunningApplication, Recorder {
public:
    using Recorder::Recorder;
    void activate() override { step("activate other instance"); }
};

}

int FakeApplication::run(ApplicationDelegate& delegate, const Scene& scene)
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

void FakeApplication::terminate()
{
    step("terminate");
    terminating = true;
}

FakeWindow::FakeWindow(std::vector<std::string>& steps, Size size, unsigned style)
    : Recorder(steps)
{
    step("window " + text(size) + " style " + std::to_string(style));
}

void FakeWindow::setTitle(const std::string& title)
{
    step("title " + title);
}

void FakeWindow::setContentView(const FramedView& content)
{
    step("content");
    view = content;
    if (const auto* hosted = std::get_if<HostedWebView>(&content.view))
        webView = hosted->makeView();
}

void FakeWindow::setContentMinSize(Size size)
{
    step("min size " + text(size));
}

void FakeWindow::setDelegate(WindowDelegate* windowDelegate)
{
    step("delegate");
    delegate = windowDelegate;
}

void FakeWindow::makeKeyAndOrderFront()
{
    step("makeKeyAndOrderFront");
    visible = true;
}

void FakeWindow::orderOut()
{
    step("orderOut");
    visible = false;
}

void FakeWindow::setIsVisible(bool isVisible)
{
    step(isVisible ? "visible" : "hidden");
    visible = isVisible;
}

void FakeWindow::deminiaturize()
{
    step("deminiaturize");
    miniaturized = false;
}

FakeWebView::FakeWebView(std::vector<std::string>& steps, std::unique_ptr<WebViewConfiguration> configuration)
    : Recorder(steps)
    , m_configuration(std::move(configuration))
{
    step("web view");
}

void FakeWebView::setNavigationDelegate(std::weak_ptr<NavigationDelegate> delegate)
{
    step(delegate.expired() ? "no navigation delegate" : "navigation delegate");
}

void FakeWebView::loadFile(const std::filesystem::path& page, const std::filesystem::path& readAccessRoot)
{
    step("load " + page.filename().string() + " of " + readAccessRoot.filename().string());
}

void FakeWebView::evaluateJavaScript(std::string script, EvaluationCompletion completion)
{
    step("evaluate");
    scripts.push_back(std::move(script));
    completions.push_back(std::move(completion));
}

void FakeWebView::post(const std::string& name, std::shared_ptr<const Value> body)
{
    auto& configuration = dynamic_cast<FakeConfiguration&>(*m_configuration);
    const auto named =
        std::ranges::find_if(configuration.handlers, [&](const auto& entry) { return entry.first == name; });
    const auto& handler = named == configuration.handlers.end() ? configuration.handlers.front() : *named;
    handler.second->didReceiveScriptMessage(configuration, {name, std::move(body)});
}

void FakePasteboard::clearContents()
{
    step("clear pasteboard");
    strings.clear();
}

void FakePasteboard::setString(const TextHandle& string, const std::string& type)
{
    step("copy as " + type);
    strings[type] = string->utf8();
}

void FakePasteboard::stringForType(const std::string& type, StringCompletion completion)
{
    auto answer = [this, type, completion = std::move(completion)] {
        const auto entry = strings.find(type);
        completion(entry == strings.end() ? std::nullopt : std::optional(entry->second));
    };
    if (answersLater)
        answers.push_back(std::move(answer));
    else
        answer();
}

void FakePasteboard::imageAsPNG(DataCompletion completion)
{
    auto answer = [this, completion = std::move(completion)] { completion(image); };
    if (answersLater)
        answers.push_back(std::move(answer));
    else
        answer();
}

FakePlatform::FakePlatform() = default;
FakePlatform::~FakePlatform() = default;

std::vector<std::unique_ptr<RunningApplication>> FakePlatform::runningApplications(const std::string& identifier)
{
    steps.push_back("look for " + identifier);
    std::vector<std::unique_ptr<RunningApplication>> others;
    for (std::size_t i = 0; i < otherInstances; ++i)
        others.push_back(std::make_unique<RunningFake>(steps));
    return others;
}

std::unique_ptr<Window> FakePlatform::makeWindow(Size contentSize, unsigned styleMask)
{
    auto made = std::make_unique<FakeWindow>(steps, contentSize, styleMask);
    windows.push_back(made.get());
    return made;
}

std::unique_ptr<WebViewConfiguration> FakePlatform::makeWebViewConfiguration()
{
    return std::make_unique<FakeConfiguration>(steps);
}

std::shared_ptr<WebView> FakePlatform::makeWebView(std::unique_ptr<WebViewConfiguration> configuration)
{
    auto view = std::make_shared<FakeWebView>(steps, std::move(configuration));
    webView = view;
    return view;
}

std::shared_ptr<SavePanel> FakePlatform::makeSavePanel()
{
    return std::make_shared<SavePanelFake>(*this);
}

std::shared_ptr<OpenPanel> FakePlatform::makeOpenPanel()
{
    return std::make_shared<OpenPanelFake>(*this);
}

std::shared_ptr<Alert> FakePlatform::makeAlert()
{
    return std::make_shared<AlertFake>(*this);
}

std::unique_ptr<Timer> FakePlatform::scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                                                   std::function<void()> block)
{
    timers.push_back(std::make_shared<FakeTimer>(FakeTimer {interval, repeats, std::move(block)}));
    return std::make_unique<TimerFake>(*this, timers.back());
}

std::shared_ptr<EventTap> FakePlatform::makeEventTap(std::uint64_t mask, EventTapCallback callback, void* userData)
{
    steps.emplace_back("make tap");
    if (!tapsAllowed)
        return nullptr;
    auto state = std::make_shared<FakeTapState>(FakeTapState {mask, callback, userData});
    tap = state;
    return std::make_shared<TapFake>(steps, std::move(state));
}

std::shared_ptr<RunLoopSource> FakePlatform::makeRunLoopSource(const std::shared_ptr<EventTap>&)
{
    return sourcesAllowed ? std::make_shared<SourceFake>(steps) : nullptr;
}

void FakePlatform::print(std::string_view line)
{
    steps.push_back("log: " + std::string(line));
}

void FakePlatform::async(std::function<void()> work)
{
    queue.push_back(std::move(work));
}

void FakePlatform::asyncAfter(std::chrono::milliseconds delay, std::function<void()> work)
{
    steps.push_back("after " + std::to_string(delay.count()) + " ms");
    delayed.emplace_back(delay, std::move(work));
}

std::optional<std::string> FakePlatform::infoString(const std::string& key) const
{
    const auto entry = info.find(key);
    return entry == info.end() ? std::nullopt : std::optional(entry->second);
}

bool FakePlatform::isProcessTrustedWithOptions(bool prompt)
{
    steps.emplace_back(prompt ? "check trust with prompt" : "check trust");
    return trusted;
}

void FakePlatform::runMainQueue()
{
    while (!queue.empty()) {
        const auto work = std::move(queue.front());
        queue.pop_front();
        work();
    }
}

std::vector<std::string> FakePlatform::lines() const
{
    std::vector<std::string> found;
    for (const auto& step : steps) {
        if (step.starts_with("log: "))
            found.push_back(step.substr(5));
    }
    return found;
}

}
