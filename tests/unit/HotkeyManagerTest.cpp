#include "hotkey/HotkeyManager.h"

#include <gmock/gmock.h>

#include "fake/FakePlatform.h"

namespace quillory {

namespace {

using fake::FakePlatform;
using testing::ElementsAre;
using testing::IsEmpty;

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

    bool swallows(std::int64_t keyCode, std::uint64_t flags)
    {
        const TapEvent event {keyCode, flags};
        const auto tap = platform.tap.lock();
        const auto* passed = tap->callback(nullptr, EventType::keyDown, &event, tap->userData);
        EXPECT_TRUE(passed == nullptr || passed == &event);
        return passed == nullptr;
    }

    FakePlatform platform;
    std::shared_ptr<HotkeyManager> manager = std::make_shared<HotkeyManager>(platform);
};

}

TEST_F(HotkeyManagerTest, CreatesOneTapOnKeyDownsAndEnablesItOnTheRunLoop)
{
    platform.tapsAllowed = false;
    EXPECT_THAT(stepsOf([&] { manager->createEventTap(); }), ElementsAre("make tap", std::string("log: ") + failed));
    platform.tapsAllowed = true;
    EXPECT_THAT(stepsOf([&] { manager->createEventTap(); }),
                ElementsAre("make tap", "add source", "enable tap", std::string("log: ") + registered));
    EXPECT_EQ(platform.tap.lock()->mask, 0x400U);
    EXPECT_THAT(stepsOf([&] { manager->createEventTap(); }), IsEmpty());
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
    const struct {
        std::int64_t keyCode;
        std::uint64_t flags;
        int taken;
    } cases[] = {
        {14, chordFlags, 1},
        {14, chordFlags | EventFlags::capsLock, 1},
        {14, chordFlags | 0xA00000 | 0xFFFF, 1}, // the numeric pad, function and device bits
        {14, chordFlags | EventFlags::option, 0},
        {14, chordFlags | EventFlags::control, 0},
        {14, EventFlags::command, 0},
        {14, EventFlags::shift, 0},
        {13, chordFlags, 0},
        {15, chordFlags, 0},
    };
    int presses = 0;
    manager->bringToFront = [&] { ++presses; };
    manager->createEventTap();
    for (const auto& [keyCode, flags, taken] : cases) {
        SCOPED_TRACE(testing::Message() << keyCode << " with " << flags);
        presses = 0;
        for (int i = 0; i < 2; ++i) // a held key repeats
            EXPECT_EQ(swallows(keyCode, flags), taken == 1);
        EXPECT_EQ(presses, 0) << "before its turn of the main queue";
        platform.runMainQueue();
        EXPECT_EQ(presses, 2 * taken);
    }
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
    const struct {
        const TapEvent* event;
        std::uint32_t type;
        bool enabledAfterwards;
    } cases[] = {
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
    // The truth values in order: trusted, tap, source, and of a tap with a source whether it is enabled.
    const auto reported = [&] {
        std::string values;
        for (const auto& step : stepsOf([&] { manager->printStatus(); }))
            values += step.ends_with(": true") ? 't' : step.ends_with(": false") ? 'f' : '=';
        return values;
    };
    EXPECT_THAT(stepsOf([&] { manager->printStatus(); }),
                ElementsAre("log: === HotkeyManager Status ===", "log: Accessibility trusted: false",
                            "log: Event tap exists: false", "log: RunLoop source exists: false",
                            "log: ============================"));
    platform.trusted = true;
    manager->createEventTap();
    EXPECT_THAT(stepsOf([&] { manager->printStatus(); }), testing::Contains("log: Event tap enabled: true"));
    EXPECT_EQ(reported(), "=tttt=");
    platform.tap.lock()->enabled = false;
    EXPECT_EQ(reported(), "=tttf=");
    manager->cleanup();
    EXPECT_EQ(reported(), "=tff=");
    platform.sourcesAllowed = false;
    manager->createEventTap();
    EXPECT_EQ(reported(), "=ttff=");
}

TEST_F(HotkeyManagerTest, CleansUpWhateverThereIs)
{
    EXPECT_THAT(stepsOf([&] { manager->cleanup(); }), IsEmpty());

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
    const auto& alert = platform.alerts[0];
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
    const auto answer = platform.alerts.at(0).answer;
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

TEST_F(HotkeyManagerTest, PollsUntilThePermissionIsThere)
{
    manager->startPermissionPolling();
    manager->startPermissionPolling();
    ASSERT_EQ(platform.timers.size(), 2U);
    EXPECT_FALSE(platform.timers[0]->valid);
    for (int i = 0; i < 2; ++i)
        EXPECT_THAT(stepsOf(platform.timers[1]->block), ElementsAre("log: Checking accessibility permission: false"));
    platform.trusted = true;
    EXPECT_THAT(stepsOf([&] { platform.timers[1]->block(); }),
                ElementsAre("log: Checking accessibility permission: true", "invalidate timer", "make tap",
                            "add source", "enable tap", std::string("log: ") + registered,
                            "log: Accessibility permission granted - hotkey now active"));
    EXPECT_FALSE(platform.timers[1]->valid);

    manager->cleanup();
    platform.tapsAllowed = false;
    manager->startPermissionPolling();
    EXPECT_THAT(stepsOf([&] { platform.timers[2]->block(); }), testing::Contains(std::string("log: ") + failed));
    EXPECT_FALSE(platform.timers[2]->valid) << "even if the tap is refused";
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
