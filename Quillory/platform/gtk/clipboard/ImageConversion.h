#pragma once

#include <functional>

#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

// Makes a PNG file of an image file in any format that the image loaders read; one that is a PNG already
// stays as it is. Works in another thread; `completion` is called on a later turn of the main thread with
// null if this is no image, or one of more than 100 megapixels: a small file can unpack to any size. The latter is said
// on standard error, with `whence` it came.
void convertToPNG(GBytesPtr image, const char* whence, std::function<void(GBytesPtr png)> completion);

}
