#pragma once

#include "platform/Localization.h"

// What the About window says of the maker, in the one place to change it. Translated when shown.
namespace quillory::maker {

inline constexpr const char* author = localizable("Made by the Quillory team");
inline constexpr const char* websiteLabel = localizable("Website: quillory.example");
inline constexpr const char* websiteURL = "https://quillory.example/";
inline constexpr const char* licenceLabel = localizable("Licence agreement");
inline constexpr const char* licenceURL = "https://quillory.example/licence";
inline constexpr const char* notice = localizable("© 2026 the Quillory team");
inline constexpr const char* country = localizable("Made in Switzerland");
inline constexpr const char* disclaimer = localizable("Provided as is, without warranty, as far as the law allows.");

}
