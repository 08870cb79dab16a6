#pragma once

#include <filesystem>

#include "services/Reply.h"
#include "services/ServiceContext.h"

namespace quillory {

// Lets the user choose a project file and hands its text to the page, if there still is one.
void showFilePicker(const ServiceContext& context, const Reply& reply);

// The same with a file that was chosen already.
void openProjectFile(const ServiceContext& context, const std::filesystem::path& file, const Reply& reply = {});

}
