#pragma once

#include <string>
#include <vector>

namespace quillory {

// A kind of file that a panel can be limited to: by MIME type, and by file name suffix (without the
// dot, in lower case, matched in any case) for files whose type the desktop does not know.
struct ContentType {
    std::string mimeType;
    std::vector<std::string> suffixes;
};

namespace ContentTypes {
inline const ContentType png {"image/png", {"png"}};
inline const ContentType jpeg {"image/jpeg", {"jpg", "jpeg"}};
inline const ContentType gif {"image/gif", {"gif"}};
inline const ContentType webP {"image/webp", {"webp"}};
inline const ContentType heic {"image/heic", {"heic"}};
inline const ContentType bmp {"image/bmp", {"bmp"}};
inline const ContentType tiff {"image/tiff", {"tif", "tiff"}};
inline const ContentType pdf {"application/pdf", {"pdf"}};
inline const ContentType json {"application/json", {"json"}};
}

}
