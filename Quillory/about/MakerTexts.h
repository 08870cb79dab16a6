#pragma once

// What the About window says of the maker, in the one place to change it. Translated when shown.
namespace quillory::maker {

inline constexpr const char* author = "Made by the Quillory team";
inline constexpr const char* websiteLabel = "Website: quillory.example";
inline constexpr const char* websiteURL = "https://quillory.example/";
inline constexpr const char* licenceLabel = "Licence agreement";
inline constexpr const char* licenceURL = "https://quillory.example/licence";
inline constexpr const char* notice = "© 2026 the Quillory team";
inline constexpr const char* country = "Made in Switzerland";
inline constexpr const char* disclaimer =
    "This software is provided as it is, without warranty of any kind, to the extent that the law allows. "
    "Nobody but you answers for what you make with it.";

}
