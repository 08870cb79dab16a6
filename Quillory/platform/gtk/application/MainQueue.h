#pragma once

#include "platform/MainQueue.h"

namespace quillory::gtk {

class MainQueue final : public quillory::MainQueue {
public:
    void async(std::function<void()> work) override;
    void asyncAfter(std::chrono::milliseconds delay, std::function<void()> work) override;
};

}
