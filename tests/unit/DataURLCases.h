#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Text.h"

namespace quillory {

// What a data URL decodes to, none if it is refused. Both kinds of text have to agree on every row.
struct DataURLCase {
    std::string url;
    std::optional<std::string> bytes;
};

inline const std::vector<DataURLCase> dataURLCases {
    {"data:text/plain;base64,QUJD", "ABC"},
    {"xyz,QUJD", "ABC"},
    {",QUJD", "ABC"},
    {"data:application/octet-stream;base64,", ""},
    {",", ""},
    {"data:;base64,QQ==", "A"},
    {"data:;base64,QUI=", "AB"},
    {"data:;base64,+/+/", "\xFB\xFF\xBF"},
    {"data:;base64,AAAA", std::string(3, '\0')},
    // Bits that the last character has and no byte takes are of no account.
    {"data:;base64,QR==", "A"},
    {"data:;base64,QUJ=", "AB"},
    {"", std::nullopt},
    {"data:text/plain;base64", std::nullopt},
    {"QUJD", std::nullopt},
    // Everything behind the first comma is payload, a second comma too.
    {"data:;base64,QUJD,QUJD", std::nullopt},
    {"data:,;base64,QUJD", std::nullopt},
    // Padding that is missing, too much or in the wrong place.
    {",QQ", std::nullopt},
    {",QQ=", std::nullopt},
    {",QUI", std::nullopt},
    {",Q===", std::nullopt},
    {",====", std::nullopt},
    {",Q", std::nullopt},
    {",=", std::nullopt},
    {",QUJD====", std::nullopt},
    {",QUI=QUJD", std::nullopt},
    {",QQ==QUJD", std::nullopt},
    {",=QUJ", std::nullopt},
    {",Q=Q=", std::nullopt},
    // Characters that are not in the alphabet, white space among them.
    {",QUJD\n", std::nullopt},
    {",QUJD\r\n\r\n", std::nullopt},
    {",QU JD", std::nullopt},
    {",QUJD    ", std::nullopt},
    {", QUJD", std::nullopt},
    {",\tQUJDQU", std::nullopt},
    {",QQ= =", std::nullopt},
    {",QQ == ", std::nullopt},
    {",QQ  ==  ", std::nullopt},
    {",QQ==    ", std::nullopt},
    {",QUI=\n\n\n\n", std::nullopt},
    {",-_-_", std::nullopt},
    {",QUJ*", std::nullopt},
    {",Q\xC3\xA4JD", std::nullopt},
    {",QU\xE2\x80\xA8JD", std::nullopt},
    {std::string(",QUJD\0\0\0\0", 9), std::nullopt},
    {std::string(",QU\0D", 5), std::nullopt},
};

inline std::optional<std::string> contents(const Bytes* bytes)
{
    if (bytes == nullptr)
        return std::nullopt;
    return std::string(reinterpret_cast<const char*>(bytes->span().data()), bytes->span().size());
}

}
