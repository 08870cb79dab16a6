#include "services/FileDrop.h"

#include "services/FilePicker.h"
#include "services/ImagePicker.h"
#include "services/PathExtension.h"

namespace quillory {

void openDroppedFiles(const ServiceContext& context, const std::vector<std::filesystem::path>& files)
{
    for (const auto& file : files) {
        if (isImageFile(file))
            openImageFile(context, file);
        else if (pathExtension(file.string()) == "json")
            openProjectFile(context, file);
    }
}

}
