#pragma once

#include <memory>

#include "platform/Platform.h"
#include "services/FailureAlert.h"
#include "services/LoadedPage.h"
#include "services/Page.h"

namespace quillory {

// What a service works with. Each request has a copy of its own.
struct ServiceContext {
    Platform& platform;
    std::weak_ptr<Page> page; // any page that is there when there is something for it
    std::weak_ptr<LoadedPage> loadedPage; // the one that asks
    std::shared_ptr<FailureAlert> failures;
};

}
