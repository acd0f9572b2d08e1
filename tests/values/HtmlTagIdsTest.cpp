// Tests of the tag id table.
#include "values/HtmlTagIds.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

TEST(HtmlTagIdsTest, DispatchedIdsAreTheFixedOnes) {
    EXPECT_EQ(LookupTagId("a"), 8);
    EXPECT_EQ(LookupTagId("textarea"), 24);
    EXPECT_EQ(LookupTagId("form"), 38);
    EXPECT_EQ(LookupTagId("frame"), 62);
    EXPECT_EQ(LookupTagId("script"), 69);
    EXPECT_EQ(LookupTagId("include"), 1003);
    EXPECT_EQ(LookupTagId("setvar"), 1004);
    EXPECT_EQ(LookupTagId("loop"), 1005);
    EXPECT_EQ(LookupTagId("deftag"), 1009);
    EXPECT_EQ(LookupTagId("if"), 1012);
    EXPECT_EQ(LookupTagId("else"), 1013);
    EXPECT_EQ(LookupTagId("elseif"), 1014);
    EXPECT_EQ(LookupTagId("endif"), 1015);
    EXPECT_EQ(LookupTagId("setheader"), 1016);
    EXPECT_EQ(LookupTagId("translation"), 1017);
}

TEST(HtmlTagIdsTest, LookupIgnoresCase) {
    EXPECT_EQ(LookupTagId("A"), TagId::A);
    EXPECT_EQ(LookupTagId("TextArea"), TagId::Textarea);
    EXPECT_EQ(LookupTagId("TRANSLATION"), TagId::Translation);
    EXPECT_EQ(LookupTagId("BlockQuote"), LookupTagId("blockquote"));
    EXPECT_EQ(LookupTagId("H1"), LookupTagId("h1"));
}

TEST(HtmlTagIdsTest, UnknownLabelsGetTheUnknownId) {
    EXPECT_EQ(LookupTagId("mytag"), TagId::Unknown);
    EXPECT_EQ(LookupTagId(""), TagId::Unknown);
    EXPECT_EQ(LookupTagId("averyveryverylonglabel"), TagId::Unknown);
    EXPECT_EQ(LookupTagId("translationx"), TagId::Unknown);
    EXPECT_EQ(LookupTagId(std::string_view("br\0", 3)), TagId::Unknown);
    EXPECT_EQ(LookupTagId(std::string_view("h\x11", 2)), TagId::Unknown);
    EXPECT_EQ(LookupTagId("/a"), TagId::Unknown);
}

TEST(HtmlTagIdsTest, StandardTagsHaveDistinctIdsClearOfTheDispatchedOnes) {
    const char* const standard[] = {"html", "head", "body", "title", "meta", "link", "div", "span", "p", "br",
                                    "table", "tr", "td", "th", "ul", "ol", "li", "img", "input", "select",
                                    "option", "button", "label", "h1", "h6", "b", "i", "em", "strong", "pre",
                                    "iframe", "frameset", "noscript", "style", "nav", "section", "hr", "center"};
    const std::set<int> dispatched = {0, 1, 8, 24, 38, 62, 69, 1003, 1004, 1005, 1006, 1007, 1008, 1009,
                                      1010, 1011, 1012, 1013, 1014, 1015, 1016, 1017};
    std::set<int> seen;
    for (const char* label : standard) {
        const int id = LookupTagId(label);
        EXPECT_EQ(dispatched.count(id), 0u) << label << " has id " << id;
        EXPECT_TRUE(seen.insert(id).second) << label << " shares id " << id;
        EXPECT_EQ(GetTagIdName(id), label);
    }
}

TEST(HtmlTagIdsTest, EveryTableEntryIsFoundByItsNameInAnyCase) {
    std::set<std::string> names;
    int known = 0;
    for (int id = 0; id < 2000; ++id) {
        const std::string_view name = GetTagIdName(id);
        if (name.empty()) continue;
        ++known;
        EXPECT_TRUE(names.insert(std::string(name)).second) << name;
        EXPECT_EQ(LookupTagId(name), id) << name;
        std::string upper(name);
        for (char& c : upper) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
        EXPECT_EQ(LookupTagId(upper), id) << upper;
    }
    EXPECT_GT(known, 100);
}

TEST(HtmlTagIdsTest, NamesOfIds) {
    EXPECT_EQ(GetTagIdName(TagId::Loop), "loop");
    EXPECT_EQ(GetTagIdName(TagId::A), "a");
    EXPECT_TRUE(GetTagIdName(TagId::Unknown).empty());
    EXPECT_TRUE(GetTagIdName(TagId::Text).empty());
}

}  // namespace
