#include "hotkey/HotkeyManager.h"

#include <gmock/gmock.h>

#include "fake/FakePlatform.h"

namespace quillory {

namespace {

using fake::FakePlatform;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* registered = "Global hotkey Cmd+Shift+E registered";
constexpr const char* failed = "Failed to create event tap - accessibility permissions may be required";
constexpr const char* required = "Accessibility permissions required for global hotkey.";
constexpr std::uint64_t chordFlags = EventFlags::command | EventFlags::shift;

class HotkeyManagerTest : public testing::Test {
protected:
    // What happened in the course of `action`.
    template<typename Action> std::vector<std::string> stepsOf(Action action)
    {
        const auto start = static_cast<std::ptrdiff_t>(platform.steps.size());
        action();
        return {platform.steps.begin() + start, platform.steps.end()};
    }

    std::vector<std::string> logged(const std::vector<std::string>& lines)
    {
        std::vector<std::string> steps;
        steps.reserve(lines.size());
        for (const auto& line : lines)
            steps.push_back("log: " + line);
        return steps;
    }

    std::vector<std::string> status()
    {
        return stepsOf([&] { manager->printStatus(); });
    }

    bool swallows(std::int64_t keyCode, std::uint64_t flags)
    {
        const TapEvent event {keyCode, flags};
        const auto tap = platform.tap.lock();
        const auto* passed = tap->callback(nullptr, EventType::keyDown, &event, tap->userData);
        EXPECT_TRUE(passed == nullptr || passed == &event);
        return passed == nullptr;
    }

    // What the polling timer does when two seconds have passed.
    void fire(std::size_t timer = 0) { platform.timers.at(timer)->block(); }

    FakePlatform platform;
    std::shared_ptr<HotkeyManager> manager = std::make_shared<HotkeyManager>(platform);
};

}

TEST_F(HotkeyManagerTest, CreatesOneTapOnKeyDownsAndEnablesItOnTheRunLoop)
{
    EXPECT_THAT(stepsOf([&] { manager->createEventTap(); }),
                ElementsAre("make tap", "add source", "enable tap", std::string("log: ") + registered));
    EXPECT_EQ(platform.tap.lock()->mask, 0x400U);
    EXPECT_THAT(stepsOf([&] { manager->createEventTap(); }), IsEmpty());
}

TEST_F(HotkeyManagerTest, TriesAgainAfterATapThatWasRefused)
{
    platform.tapsAllowed = false;
    EXPECT_THAT(stepsOf([&] { manager->createEventTap(); }), ElementsAre("make tap", std::string("log: ") + failed));
    platform.tapsAllowed = true;
    manager->createEventTap();
    EXPECT_THAT(platform.lines(), ElementsAre(failed, registered));
}

TEST_F(HotkeyManagerTest, KeepsATapWithoutASourceSilentUntilCleanup)
{
    platform.sourcesAllowed = false;
    EXPECT_THAT(stepsOf([&] { manager->createEventTap(); }), ElementsAre("make tap"));
    platform.sourcesAllowed = true;
    EXPECT_THAT(stepsOf([&] { manager->createEventTap(); }), IsEmpty());
    EXPECT_FALSE(platform.tap.lock()->enabled);

    EXPECT_THAT(stepsOf([&] { manager->cleanup(); }), ElementsAre("disable tap"));
    EXPECT_TRUE(platform.tap.expired());
}

TEST_F(HotkeyManagerTest, TakesTheChordAndNothingElse)
{
    struct Case {
        const char* what;
        std::int64_t keyCode;
        std::uint64_t flags;
        bool taken;
    };
    constexpr Case cases[] = {
        {"the chord", 14, chordFlags, true},
        {"with Caps Lock", 14, chordFlags | EventFlags::capsLock, true},
        {"with the numeric pad, function and device bits", 14, chordFlags | 0xA00000 | 0xFFFF, true},
        {"with Option", 14, chordFlags | EventFlags::option, false},
        {"with Control", 14, chordFlags | EventFlags::control, false},
        {"with both", 14, chordFlags | EventFlags::option | EventFlags::control, false},
        {"Command alone", 14, EventFlags::command, false},
        {"Shift alone", 14, EventFlags::shift, false},
        {"no modifier", 14, 0, false},
        {"the key before", 13, chordFlags, false},
        {"the key after", 15, chordFlags, false},
    };
    int presses = 0;
    manager->bringToFront = [&] { ++presses; };
    manager->createEventTap();
    for (const auto& [what, keyCode, flags, taken] : cases) {
        SCOPED_TRACE(what);
        presses = 0;
        EXPECT_EQ(swallows(keyCode, flags), taken);
        EXPECT_EQ(presses, 0) << "before its turn of the main queue";
        platform.runMainQueue();
        EXPECT_EQ(presses, taken ? 1 : 0);
    }
}

TEST_F(HotkeyManagerTest, AnswersEachRepeat)
{
    int presses = 0;
    manager->bringToFront = [&] { ++presses; };
    manager->createEventTap();
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(swallows(keyCodeE, chordFlags));
    platform.runMainQueue();
    EXPECT_EQ(presses, 3);
}

TEST_F(HotkeyManagerTest, SwallowsTheChordWithNobodyToBringToFront)
{
    manager->createEventTap();
    EXPECT_TRUE(swallows(keyCodeE, chordFlags));
    platform.runMainQueue();

    EXPECT_TRUE(swallows(keyCodeE, chordFlags));
    manager->cleanup();
    manager.reset();
    platform.runMainQueue();
}

TEST_F(HotkeyManagerTest, PassesOtherEventsAndComesBackAfterATimeout)
{
    manager->createEventTap();
    const auto tap = platform.tap.lock();
    const TapEvent chord {keyCodeE, chordFlags};
    struct Case {
        const TapEvent* event;
        std::uint32_t type;
        bool enabledAfterwards;
    };
    const Case cases[] = {
        {&chord, 11, false},
        {&chord, EventType::tapDisabledByUserInput, false},
        {&chord, EventType::tapDisabledByTimeout, true},
        {nullptr, EventType::tapDisabledByTimeout, true},
    };
    for (const auto& [event, type, enabledAfterwards] : cases) {
        SCOPED_TRACE(type);
        tap->enabled = false;
        EXPECT_EQ(tap->callback(nullptr, type, event, tap->userData), event);
        EXPECT_EQ(tap->enabled, enabledAfterwards);
        EXPECT_THAT(platform.queue, IsEmpty());
    }
}

TEST_F(HotkeyManagerTest, ReportsItsStatusInEveryState)
{
    const auto report = [&](bool trusted, bool tap, bool source, std::optional<bool> enabled) {
        const auto line = [](const char* label, bool value) { return std::string(label) + (value ? "true" : "false"); };
        std::vector<std::string> lines {"=== HotkeyManager Status ===", line("Accessibility trusted: ", trusted),
                                        line("Event tap exists: ", tap), line("RunLoop source exists: ", source)};
        if (enabled)
            lines.push_back(line("Event tap enabled: ", *enabled));
        lines.emplace_back("============================");
        return logged(lines);
    };
    EXPECT_EQ(status(), report(false, false, false, {}));
    platform.trusted = true;
    manager->createEventTap();
    EXPECT_EQ(status(), report(true, true, true, true));
    platform.tap.lock()->enabled = false;
    EXPECT_EQ(status(), report(true, true, true, false));
    manager->cleanup();
    EXPECT_EQ(status(), report(true, false, false, {}));
    platform.sourcesAllowed = false;
    manager->createEventTap();
    EXPECT_EQ(status(), report(true, true, false, false));
}

TEST_F(HotkeyManagerTest, CleansUpWhateverThereIs)
{
    EXPECT_THAT(stepsOf([&] { manager->cleanup(); }), IsEmpty());

    manager->createEventTap();
    EXPECT_THAT(stepsOf([&] { manager->cleanup(); }), ElementsAre("disable tap", "remove source"));
    EXPECT_TRUE(platform.tap.expired());

    manager->startPermissionPolling();
    manager->createEventTap();
    EXPECT_THAT(stepsOf([&] { manager->cleanup(); }), ElementsAre("invalidate timer", "disable tap", "remove source"));
    EXPECT_THAT(stepsOf([&] { manager->cleanup(); }), IsEmpty());
}

TEST_F(HotkeyManagerTest, NeedsNeitherAlertNorTimerWithThePermission)
{
    platform.trusted = true;
    manager->setupHotkey();
    platform.runMainQueue();
    EXPECT_THAT(platform.lines(), ElementsAre(registered));
    EXPECT_THAT(platform.alerts, IsEmpty());
    EXPECT_THAT(platform.timers, IsEmpty());
}

TEST_F(HotkeyManagerTest, AsksOnceAndPollsWithoutThePermission)
{
    manager->setupHotkey();
    EXPECT_EQ(platform.steps.front(), "check trust with prompt");
    EXPECT_THAT(platform.lines(), ElementsAre(required));
    ASSERT_EQ(platform.timers.size(), 1U) << "polling starts before the alert is shown";
    EXPECT_EQ(platform.timers[0]->interval, std::chrono::seconds(2));
    EXPECT_TRUE(platform.timers[0]->repeats);
    EXPECT_THAT(platform.alerts, IsEmpty());

    platform.runMainQueue();
    ASSERT_EQ(platform.alerts.size(), 1U);
    const auto& alert = *platform.alerts[0];
    EXPECT_EQ(alert.messageText, "Accessibility Permission Required");
    EXPECT_EQ(alert.informativeText,
              "Quillory needs Accessibility permission to enable the global hotkey (Cmd+Shift+E).\n\n"
              "Please enable Quillory in:\nSystem Settings → Privacy & Security → Accessibility");
    EXPECT_EQ(alert.style, AlertStyle::informational);
    EXPECT_THAT(alert.buttons, ElementsAre("Open System Settings", "Later"));

    manager->setupHotkey();
    platform.runMainQueue();
    EXPECT_EQ(platform.alerts.size(), 1U);
}

TEST_F(HotkeyManagerTest, OpensTheSettingsForTheFirstButtonOnly)
{
    const std::string settings = "open x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
    manager->showPermissionAlert();
    const auto answer = platform.alerts.at(0)->answer;
    EXPECT_THAT(stepsOf([&] { answer(1001); }), IsEmpty());
    EXPECT_THAT(stepsOf([&] { answer(0); }), IsEmpty());
    EXPECT_THAT(stepsOf([&] { answer(1000); }), ElementsAre(settings));
}

TEST_F(HotkeyManagerTest, ShowsTheAlertThatIsDueOfAManagerThatHasGone)
{
    manager->showPermissionAlertIfNeeded();
    manager.reset();
    platform.runMainQueue();
    EXPECT_EQ(platform.alerts.size(), 1U);
}

TEST_F(HotkeyManagerTest, ReplacesAnEarlierPolling)
{
    manager->startPermissionPolling();
    manager->startPermissionPolling();
    ASSERT_EQ(platform.timers.size(), 2U);
    EXPECT_FALSE(platform.timers[0]->valid);
    EXPECT_TRUE(platform.timers[1]->valid);
}

TEST_F(HotkeyManagerTest, PollsUntilThePermissionIsThere)
{
    manager->startPermissionPolling();
    for (int i = 0; i < 2; ++i)
        EXPECT_THAT(stepsOf([&] { fire(); }), ElementsAre("log: Checking accessibility permission: false"));
    platform.trusted = true;
    EXPECT_THAT(stepsOf([&] { fire(); }),
                ElementsAre("log: Checking accessibility permission: true", "invalidate timer", "make tap",
                            "add source", "enable tap", std::string("log: ") + registered,
                            "log: Accessibility permission granted - hotkey now active"));
    EXPECT_FALSE(platform.timers[0]->valid);
}

TEST_F(HotkeyManagerTest, StopsPollingEvenIfTheTapIsRefused)
{
    platform.trusted = true;
    platform.tapsAllowed = false;
    manager->startPermissionPolling();
    fire();
    EXPECT_THAT(
        platform.lines(),
        ElementsAre("Checking accessibility permission: true", failed, StartsWith("Accessibility permission granted")));
    EXPECT_FALSE(platform.timers[0]->valid);
}

TEST_F(HotkeyManagerTest, IsNotKeptByItsTimer)
{
    manager->startPermissionPolling();
    const auto block = platform.timers[0]->block;
    manager.reset();
    EXPECT_FALSE(platform.timers[0]->valid);
    EXPECT_THAT(stepsOf(block), IsEmpty());
}

}
