#include "hotkey/HotkeyManager.h"

#include <gmock/gmock.h>

#include "fake/FakePlatform.h"

namespace quillory {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t chordFlags = EventFlags::command | EventFlags::shift;
const std::string registered = "log: Global hotkey Cmd+Shift+E registered";
const std::string failed = "log: Failed to create event tap - accessibility permissions may be required";

class HotkeyManagerTest : public testing::Test {
protected:
    fake::Steps stepsOf(void (HotkeyManager::*action)())
    {
        return platform.stepsOf([&] { (*manager.*action)(); });
    }

    bool swallows(std::int64_t keyCode, std::uint64_t flags)
    {
        const TapEvent event {keyCode, flags};
        const auto* passed = platform.tap.lock()->send(EventType::keyDown, &event);
        EXPECT_TRUE(passed == nullptr || passed == &event);
        return passed == nullptr;
    }

    fake::FakePlatform platform;
    std::shared_ptr<HotkeyManager> manager = std::make_shared<HotkeyManager>(platform);
};

}

TEST_F(HotkeyManagerTest, CreatesOneTapOnKeyDownsAndEnablesItOnTheRunLoop)
{
    platform.tapsAllowed = false;
    EXPECT_THAT(stepsOf(&HotkeyManager::createEventTap), ElementsAre("make tap on 1024", failed));
    platform.tapsAllowed = true;
    EXPECT_THAT(stepsOf(&HotkeyManager::createEventTap),
                ElementsAre("make tap on 1024", "add source", "enable tap", registered));
    EXPECT_THAT(stepsOf(&HotkeyManager::createEventTap), IsEmpty());
}

TEST_F(HotkeyManagerTest, CleansUpWhateverThereIs)
{
    EXPECT_THAT(stepsOf(&HotkeyManager::cleanup), IsEmpty());
    manager->startPermissionPolling();
    manager->createEventTap();
    EXPECT_THAT(stepsOf(&HotkeyManager::cleanup), ElementsAre("invalidate timer", "disable tap", "remove source"));
    EXPECT_THAT(stepsOf(&HotkeyManager::cleanup), IsEmpty());

    // A tap without a source stays silent.
    platform.sourcesAllowed = false;
    EXPECT_THAT(stepsOf(&HotkeyManager::createEventTap), ElementsAre("make tap on 1024"));
    platform.sourcesAllowed = true;
    EXPECT_THAT(stepsOf(&HotkeyManager::createEventTap), IsEmpty());
    EXPECT_THAT(stepsOf(&HotkeyManager::cleanup), ElementsAre("disable tap"));
    EXPECT_TRUE(platform.tap.expired());
}

TEST_F(HotkeyManagerTest, TakesTheChordAndNothingElse)
{
    manager->createEventTap();
    EXPECT_TRUE(swallows(14, chordFlags)) << "with nobody to bring to front";
    platform.runMainQueue();
    int presses = 0;
    manager->bringToFront = [&] { ++presses; };
    // With Caps Lock, then with the numeric pad, function and device bits.
    for (const auto flags : {chordFlags, chordFlags | 0x10000, chordFlags | 0xA00000 | 0xFFFF}) {
        for (int i = 0; i < 2; ++i) // a held key repeats
            EXPECT_TRUE(swallows(14, flags));
        EXPECT_EQ(std::exchange(presses, 0), 0) << "before its turn of the main queue";
        platform.runMainQueue();
        EXPECT_EQ(std::exchange(presses, 0), 2);
    }
    for (const auto flags :
         {chordFlags | EventFlags::option, chordFlags | EventFlags::control, EventFlags::command, EventFlags::shift})
        EXPECT_FALSE(swallows(14, flags)) << flags;
    EXPECT_FALSE(swallows(13, chordFlags) || swallows(15, chordFlags));
    EXPECT_THAT(platform.queue, IsEmpty());

    EXPECT_TRUE(swallows(14, chordFlags));
    manager->cleanup();
    manager.reset();
    platform.runMainQueue();
    EXPECT_EQ(presses, 0);
}

TEST_F(HotkeyManagerTest, PassesOtherEventsAndComesBackAfterATimeout)
{
    manager->createEventTap();
    const auto tap = platform.tap.lock();
    const TapEvent chord {keyCodeE, chordFlags};
    const std::tuple<const TapEvent*, std::uint32_t, bool> cases[] = {{&chord, 11, false},
                                                                      {&chord, 0xFFFFFFFF, false},
                                                                      {&chord, EventType::tapDisabledByTimeout, true},
                                                                      {nullptr, EventType::tapDisabledByTimeout, true}};
    for (const auto& [event, type, enabledAfterwards] : cases) {
        tap->enabled = false;
        EXPECT_EQ(tap->send(type, event), event);
        EXPECT_EQ(tap->enabled, enabledAfterwards) << type;
    }
    EXPECT_THAT(platform.queue, IsEmpty());
}

TEST_F(HotkeyManagerTest, ReportsItsStatusInEveryState)
{
    // Accessibility, tap, source and, of a tap, whether it is enabled.
    const auto expectStatus = [&](std::initializer_list<bool> values) {
        constexpr const char* labels[] = {"Accessibility trusted", "Event tap exists", "RunLoop source exists",
                                          "Event tap enabled"};
        fake::Steps lines {"=== HotkeyManager Status ==="};
        for (const bool value : values)
            lines.push_back(std::string(labels[lines.size() - 1]) + (value ? ": true" : ": false"));
        lines.emplace_back("============================");
        stepsOf(&HotkeyManager::printStatus);
        EXPECT_EQ(platform.lines, lines);
    };
    expectStatus({false, false, false});
    platform.trusted = true;
    manager->createEventTap();
    expectStatus({true, true, true, true});
    platform.tap.lock()->enabled = false;
    expectStatus({true, true, true, false});
    manager->cleanup();
    platform.sourcesAllowed = false;
    manager->createEventTap();
    expectStatus({true, true, false, false});
}

TEST_F(HotkeyManagerTest, AsksOnceAndPollsWithoutThePermission)
{
    for (int i = 0; i < 2; ++i)
        EXPECT_THAT(stepsOf(&HotkeyManager::setupHotkey),
                    testing::IsSupersetOf({"check trust with prompt", "timer every 2000 ms",
                                           "log: Accessibility permissions required for global hotkey."}));
    EXPECT_THAT(platform.alerts, IsEmpty()) << "before its turn";
    manager.reset();
    platform.runMainQueue();
    ASSERT_EQ(platform.alerts.size(), 1U);
    const nlohmann::json alert {
        {"message", "Accessibility Permission Required"},
        {"text",
         "Quillory needs Accessibility permission to enable the global hotkey (Cmd+Shift+E).\n\n"
         "Please enable Quillory in:\nSystem Settings → Privacy & Security → Accessibility"},
        {"style", 1},
        {"buttons", {"Open System Settings", "Later"}},
        {"modal", true}};
    EXPECT_EQ(platform.alerts[0].settings, alert);
    for (const int answer : {1001, 0})
        EXPECT_THAT(platform.stepsOf([&] { platform.alerts[0].answer(answer); }), IsEmpty());
    EXPECT_THAT(platform.stepsOf([&] { platform.alerts[0].answer(1000); }),
                ElementsAre("open x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"));
}

TEST_F(HotkeyManagerTest, PollsUntilThePermissionIsThere)
{
    const auto tick = [this] { return platform.stepsOf(*platform.timers.back().lock()); };
    manager->startPermissionPolling();
    manager->startPermissionPolling();
    EXPECT_TRUE(platform.timers.at(0).expired());
    for (int i = 0; i < 2; ++i)
        EXPECT_THAT(tick(), ElementsAre("log: Checking accessibility permission: false"));
    platform.trusted = true;
    EXPECT_THAT(tick(),
                ElementsAre("log: Checking accessibility permission: true", "invalidate timer", "make tap on 1024",
                            "add source", "enable tap", registered,
                            "log: Accessibility permission granted - hotkey now active"));
    EXPECT_TRUE(platform.timers.at(1).expired());
    EXPECT_THAT(platform.stepsOf(platform.granted), IsEmpty()) << "what is said later is known";

    manager->cleanup();
    platform.tapsAllowed = false;
    manager->startPermissionPolling();
    EXPECT_THAT(platform.stepsOf(platform.granted), testing::Contains(failed))
        << "what is said need not wait for a tick";
    EXPECT_TRUE(platform.timers.at(2).expired()) << "even if the tap is refused";

    // The timer does not keep its manager.
    manager->startPermissionPolling();
    const auto block = *platform.timers.back().lock();
    manager.reset();
    EXPECT_TRUE(platform.timers.back().expired());
    EXPECT_THAT(platform.stepsOf(block), IsEmpty());
}

}
