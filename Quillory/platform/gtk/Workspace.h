#pragma once

#include "platform/Workspace.h"

namespace quillory::gtk {

class Workspace final : public quillory::Workspace {
public:
    void openURL(const std::string& url) override;
};

}
