#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "platform/Platform.h"
#include "services/Page.h"

namespace quillory {

// Files that the user dropped on the page are as good as chosen in a panel: images and projects go to the
// page in the way of their picker, other files are left alone.
void openDroppedFiles(Platform& platform, const std::weak_ptr<Page>& page,
                      const std::vector<std::filesystem::path>& files);

}
