#include "platform/gtk/web/JSCValue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "platform/gtk/web/PrintedFile.h"

namespace quillory::gtk {

namespace {

using namespace nlohmann::literals;

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
    EXPECT_EQ(evaluate("''").text()->utf8(), "");
    EXPECT_EQ(evaluate("'\\u{1F58A} ä'").text()->utf8(), "\xF0\x9F\x96\x8A ä");
    EXPECT_EQ(evaluate("'a\\0b'").text()->utf8(), std::string("a\0b", 3));
    EXPECT_EQ(evaluate("'x\\uD800y'").text()->utf8(), "x\xEF\xBF\xBDy");
}

TEST_F(Engine, TellsTextsArraysAndObjectsFromAllElse)
{
    const std::vector<std::string> others =
        R"json(["null", "undefined", "new Date()", "true", "1.5", "({})", "({length: 3})", "[]",
        "Object.assign([], {a: 'x'})"])json"_json;
    for (const auto& script : others) {
        const auto value = evaluate(script);
        EXPECT_TRUE(!value.text() && value.size() == 0 && !value.at("a")->text()) << script;
    }
}

TEST_F(Engine, ReadsObjectsOfStringsWholeOrNotAtAll)
{
    const std::string manyKeys = "Object.fromEntries(Array(100000).fill('').entries())";
    for (const auto& script : {std::string("({})"), std::string("({a: 'x', 'ключ': 'y'})"), manyKeys})
        EXPECT_TRUE(evaluate(script).isStringObject()) << script;
    std::vector<std::string> others =
        R"json(["({a: 'x', b: 1})", "({a: 'x', b: null})", "({a: 'x', b: undefined})",
        "({a: 'x', b: ['y']})", "['x']", "[]", "'x'", "null", "new Date()"])json"_json;
    others.push_back("Object.assign({more: ''}, " + manyKeys + ")");
    for (const auto& script : others)
        EXPECT_FALSE(evaluate(script).isStringObject()) << script;
    for (const char* script : {"[]", "[{}, {a: 'x', 'ключ': 'y'}]"})
        EXPECT_TRUE(evaluate(script).holdsStringObjects()) << script;
    const std::vector<std::string> otherLists =
        R"json(["[{a: 'x'}, {a: 1}]", "[{a: null}]", "[['x']]", "[[]]", "[null]", "['x']",
        "[new Date()]", "new Array(2)", "({length: 0})"])json"_json;
    for (const auto& script : otherLists)
        EXPECT_FALSE(evaluate(script).holdsStringObjects()) << script;
}

TEST_F(Engine, ReadsListsWithHolesAndTreesThatReferToThemselves)
{
    const auto list = evaluate("new Array(4294967295)");
    EXPECT_EQ(list.size(), 4294967295U);
    EXPECT_FALSE(list.at(std::size_t {7})->text());
    const auto tree = evaluate("const tree = {files: [{filename: 'a'}]}; tree.self = tree; tree");
    EXPECT_EQ(tree.at("self")->at("self")->at("files")->at(0)->at("filename")->text()->utf8(), "a");
    EXPECT_FALSE(tree.isStringObject());
}

TEST(PrintedFile, HasAsManyPagesAsThereAreSizes)
{
    const std::string file = "%PDF 1 0 obj<</MediaBox [0 0 1002 1002]\n/Tabs /S>>2 0 obj<</MediaBox [0 0 1002 1002]>>";
    const auto cut = [&](std::vector<PageSize> pages) {
        auto pdf = file;
        return cutPrintedPages(std::as_writable_bytes(std::span(pdf)), 1002, pages) ? pdf : "";
    };
    EXPECT_EQ(cut({{300, 1000}, {7, 90}}),
              "%PDF 1 0 obj<</MediaBox [0 0 300 1000] \n/Tabs /S>>2 0 obj<</MediaBox [0 0 7 90]     >>");
    EXPECT_EQ(cut({{1, 1}}), "");
    EXPECT_EQ(cut({{1, 1}, {1, 1}, {1, 1}}), "");
    EXPECT_EQ(readPageSizes("300x1000,14400x1").back().width, 14400U);
    for (const char* sizes : {"", "300", "300x", "0x1", "1x14401", "-1x1", "1x1 1x1", "1 x1", "1x1,"})
        EXPECT_TRUE(readPageSizes(sizes).empty()) << sizes;
}

}
