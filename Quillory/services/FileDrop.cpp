#include "services/FileDrop.h"

#include "services/FilePicker.h"
#include "services/ImagePicker.h"
#include "services/PathExtension.h"

namespace quillory {

void openDroppedFiles(Platform& platform, const std::weak_ptr<Page>& page,
                      const std::vector<std::filesystem::path>& files)
{
    for (const auto& file : files) {
        if (isImageFile(file))
            openImageFile(platform, page, file);
        else if (pathExtension(file.string()) == "json")
            openProjectFile(platform, page, file);
    }
}

}
