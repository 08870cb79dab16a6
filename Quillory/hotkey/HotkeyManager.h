#pragma once

#include <functional>
#include <memory>

#include "platform/Platform.h"

namespace quillory {

class HotkeyManager {
public:
    static std::shared_ptr<HotkeyManager> shared;
    explicit HotkeyManager(Platform& platform)
        : m_platform(platform)
    {
    }
    std::function<void()> bringToFront;
    void setupHotkey() { }
    void printStatus() { }
    void cleanup() { }

private:
    Platform& m_platform;
};

}
