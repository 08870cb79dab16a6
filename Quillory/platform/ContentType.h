#pragma once

#include <string>
#include <vector>

namespace quillory {

// A kind of file that a panel can be limited to: by MIME type, and by file name suffix (without the
// dot, in lower case, matched in any case) for files whose type the desktop does not know.
struct ContentType {
    std::string mimeType;
    std::vector<std::string> suffixes;

    bool operator==(const ContentType&) const = default;

    static const ContentType png;
    static const ContentType jpeg;
    static const ContentType gif;
    static const ContentType webP;
    static const ContentType heic;
    static const ContentType bmp;
    static const ContentType tiff;
    static const ContentType pdf;
    static const ContentType json;
};

inline const ContentType ContentType::png {"image/png", {"png"}};
inline const ContentType ContentType::jpeg {"image/jpeg", {"jpg", "jpeg"}};
inline const ContentType ContentType::gif {"image/gif", {"gif"}};
inline const ContentType ContentType::webP {"image/webp", {"webp"}};
inline const ContentType ContentType::heic {"image/heic", {"heic"}};
inline const ContentType ContentType::bmp {"image/bmp", {"bmp"}};
inline const ContentType ContentType::tiff {"image/tiff", {"tif", "tiff"}};
inline const ContentType ContentType::pdf {"application/pdf", {"pdf"}};
inline const ContentType ContentType::json {"application/json", {"json"}};

}
