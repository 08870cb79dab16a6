#include "platform/gtk/web/JSCValue.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "services/StringObject.h"

namespace quillory::gtk {

namespace {

std::string contents(const Bytes* bytes)
{
    return bytes == nullptr ? "refused"
                            : std::string(reinterpret_cast<const char*>(bytes->span().data()), bytes->span().size());
}

class Engine : public testing::Test {
protected:
    JSCValue evaluate(const std::string& script)
    {
        return {GObjectPtr<::JSCValue>(jsc_context_evaluate(m_context.get(), script.c_str(), -1)), m_functions};
    }

    JSCText text(const std::string& utf8)
    {
        const GBytesPtr bytes(g_bytes_new(utf8.data(), utf8.size()));
        return {GObjectPtr<::JSCValue>(jsc_value_new_string_from_bytes(m_context.get(), bytes.get())), m_functions};
    }

private:
    GObjectPtr<JSCContext> m_context {jsc_context_new()};
    std::shared_ptr<JSCTextFunctions> m_functions = std::make_shared<JSCTextFunctions>(m_context.get());
};

}

TEST_F(Engine, DecodesStrictlyWhatFollowsTheFirstComma)
{
    const std::pair<std::string, std::string> accepted[] = {
        {"data:text/plain;base64,QUJD", "ABC"},
        {"xyz,QUJD", "ABC"},
        {",QUJD", "ABC"},
        {",", ""},
        {"data:application/octet-stream;base64,", ""},
        {",QQ==", "A"},
        {",QUI=", "AB"},
        {",+/+/", "\xFB\xFF\xBF"},
        {",AAAA", std::string(3, '\0')},
        // Bits that the last character has and no byte takes are of no account.
        {",QR==", "A"},
        {",QUJ=", "AB"},
    };
    for (const auto& [url, bytes] : accepted)
        EXPECT_EQ(contents(text(url).base64AfterFirstComma().get()), bytes) << url;
    const std::string refused[] = {
        "",
        "data:text/plain;base64",
        "QUJD",
        // Everything behind the first comma is payload, a second comma too.
        "data:;base64,QUJD,QUJD",
        "data:,;base64,QUJD",
        // Padding that is missing, too much or in the wrong place.
        ",QQ",
        ",QQ=",
        ",QUI",
        ",Q===",
        ",====",
        ",Q",
        ",=",
        ",QUJD====",
        ",QUI=QUJD",
        ",QQ==QUJD",
        ",=QUJ",
        ",Q=Q=",
        // Characters that are not in the alphabet, white space among them.
        ",QUJD\n",
        ",QUJD\r\n\r\n",
        ",QU JD",
        ",QUJD    ",
        ", QUJD",
        ",\tQUJDQU",
        ",QQ= =",
        ",QQ == ",
        ",QQ  ==  ",
        ",QQ==    ",
        ",QUI=\n\n\n\n",
        ",-_-_",
        ",QUJ*",
        ",Q\xC3\xA4JD",
        ",QU\xE2\x80\xA8JD",
        std::string(",QUJD\0\0\0\0", 9),
        std::string(",QU\0D", 5),
    };
    for (const auto& url : refused)
        EXPECT_EQ(text(url).base64AfterFirstComma(), nullptr) << url;
}

TEST_F(Engine, KeepsDecodedBytesAsLongAsTheyAreHeldAndNoLonger)
{
    const std::string megabytes(8 << 20, 'A');
    auto source = std::make_unique<JSCText>(text("," + megabytes));
    auto bytes = source->base64AfterFirstComma();
    source.reset();
    EXPECT_EQ(bytes->span().size(), megabytes.size() / 4 * 3);
    EXPECT_TRUE(std::ranges::all_of(bytes->span(), [](std::byte byte) { return byte == std::byte {0}; }));
    const std::weak_ptr<const Bytes> held = bytes;
    bytes.reset();
    EXPECT_TRUE(held.expired());
}

TEST_F(Engine, GivesTextsAsUTF8)
{
    const struct {
        const char* script;
        std::string utf8;
    } cases[] = {
        {"''", ""},
        {"'a\\0b'", std::string("a\0b", 3)},
        {"'\\u{1F58A}\\uFE0F ä'", "\xF0\x9F\x96\x8A\xEF\xB8\x8F \xC3\xA4"},
        {"'x\\uD800y'", "x\xEF\xBF\xBDy"},
    };
    for (const auto& [script, utf8] : cases)
        EXPECT_EQ(evaluate(script).text()->utf8(), utf8) << script;
}

TEST_F(Engine, TellsTheKindsApart)
{
    using enum Value::Kind;
    const struct {
        const char* script;
        Value::Kind kind;
    } cases[] = {
        {"null", null},       {"undefined", null},       {"true", boolean},
        {"1.5", number},      {"NaN", number},           {"'text'", text},
        {"[]", array},        {"[1, 'a']", array},       {"({})", object},
        {"new Date()", null}, {"({length: 3})", object},
    };
    for (const auto& [script, kind] : cases)
        EXPECT_EQ(evaluate(script).kind(), kind) << script;
}

TEST_F(Engine, ReadsTreesThatReferToThemselves)
{
    const auto tree = evaluate("const tree = {files: [{filename: 'a'}]}; tree.self = tree; tree");
    const auto file = readStringObject(*tree.at("self")->at("self")->at("files")->at(0));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->at("filename")->utf8(), "a");
    EXPECT_FALSE(readStringObject(tree));
}

TEST_F(Engine, ReadsAnObjectOfStringsWholeOrNotAtAll)
{
    const struct {
        const char* script;
        std::optional<std::size_t> size;
    } cases[] = {
        {"({})", 0},
        {"({a: 'x', 'ключ': 'y'})", 2},
        {"({a: 'x', b: 1})", std::nullopt},
        {"({a: 'x', b: null})", std::nullopt},
        {"({a: 'x', b: undefined})", std::nullopt},
        {"({a: 'x', b: ['y']})", std::nullopt},
        {"['x']", std::nullopt},
        {"'x'", std::nullopt},
        {"null", std::nullopt},
    };
    for (const auto& [script, size] : cases) {
        const auto object = readStringObject(evaluate(script));
        EXPECT_EQ(object ? std::optional(object->size()) : std::nullopt, size) << script;
    }
}

TEST_F(Engine, TellsAListOfStringObjects)
{
    const struct {
        const char* script;
        bool is;
    } cases[] = {
        {"[]", true},
        {"[{}, {a: 'x', 'ключ': 'y'}]", true},
        {"[{a: 'x'}, {a: 1}]", false},
        {"[{a: null}]", false},
        {"[['x']]", false},
        {"[[]]", false},
        {"[null]", false},
        {"['x']", false},
        {"[new Date()]", false},
        {"new Array(2)", false},
        {"({length: 0})", false},
    };
    for (const auto& [script, is] : cases)
        EXPECT_EQ(evaluate(script).holdsStringObjects(), is) << script;
}

TEST_F(Engine, ReadsTheHolesOfAListAsNothing)
{
    const auto list = evaluate("new Array(4294967295)");
    EXPECT_EQ(list.size(), 4294967295U);
    EXPECT_EQ(list.at(std::size_t {7})->kind(), Value::Kind::null);
}

}
