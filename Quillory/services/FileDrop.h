#pragma once

#include <filesystem>
#include <vector>

#include "services/ServiceContext.h"

namespace quillory {

// Files that the user dropped on the page are as good as chosen in a panel: images and projects go to the
// page in the way of their picker, other files are left alone.
void openDroppedFiles(const ServiceContext& context, const std::vector<std::filesystem::path>& files);

}
