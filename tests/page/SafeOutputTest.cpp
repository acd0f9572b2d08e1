// SafeOutput: attribute values, URLs that would run script, link parts and
// exact value texts.
#include <gtest/gtest.h>

#include <string>

#include "page/SafeOutput.h"
#include "values/VarDouble.h"
#include "values/VarFloat.h"
#include "values/VarInteger.h"

namespace {

std::string Attribute(std::string_view value, bool holdsUrl) {
    NyxString out;
    AppendSafeAttributeValue(out, value, holdsUrl);
    return std::string(out.View());
}

TEST(SafeOutputTest, AttributeValuesLoseEveryCharacterThatEndsOrOpensMarkup) {
    EXPECT_EQ(Attribute("a\"b'c<d>e&f", false), "a&quot;b&#39;c&lt;d&gt;e&amp;f");
    EXPECT_EQ(Attribute("plain text", false), "plain text");
}

TEST(SafeOutputTest, UrlsThatRunScriptAreReplacedHoweverTheyAreSpelt) {
    for (const char* url : {"javascript:alert(1)", "JaVaScRiPt:x", " \x01javascript:x", "java\tscript:x",
                            "java\nscript:x", "vbscript:msgbox", "data:text/html,<script>x</script>"}) {
        EXPECT_EQ(Attribute(url, true), "about:invalid") << url;
    }
    // Only a URL attribute is looked at, and only the scheme counts.
    EXPECT_EQ(Attribute("javascript:x", false), "javascript:x");
    for (const char* url : {"https://example.org/?q=javascript:x", "javascript-guide.html", "page.vxl?data=1",
                            "/data:x"}) {
        EXPECT_EQ(Attribute(url, true), std::string(Attribute(url, false))) << url;
    }
}

TEST(SafeOutputTest, UrlAttributesAreKnownInAnyCase) {
    EXPECT_TRUE(IsUrlAttribute("HREF"));
    EXPECT_TRUE(IsUrlAttribute("formaction"));
    EXPECT_TRUE(IsUrlAttribute("xlink:href"));
    EXPECT_FALSE(IsUrlAttribute("title"));
    EXPECT_FALSE(IsUrlAttribute("hrefs"));
}

TEST(SafeOutputTest, LinkComponentsKeepOnlyUnreservedCharacters) {
    NyxString out;
    AppendLinkComponent(out, std::string_view("a-b.c_d~e f+g&h=i%j#k/\0\xFF", 24));
    EXPECT_EQ(std::string(out.View()), "a-b.c_d~e%20f%2Bg%26h%3Di%25j%23k%2F%00%FF");
}

TEST(SafeOutputTest, ExactTextsReadBackAsTheSameValue) {
    char letter = 0;
    NyxString text;
    VarInteger negative;
    negative.SetIntegerValue(-1);
    ASSERT_TRUE(DescribeExactValue(&negative, letter, text));
    EXPECT_EQ(letter, 'i');
    EXPECT_EQ(std::string(text.View()), "-1");

    VarDouble tenth;
    tenth.SetDoubleValue(0.1);
    text.Clear();
    ASSERT_TRUE(DescribeExactValue(&tenth, letter, text));
    EXPECT_EQ(std::string(text.View()), "0.1");

    VarFloat third;
    third.SetFloatValue(1.0f / 3.0f);
    text.Clear();
    ASSERT_TRUE(DescribeExactValue(&third, letter, text));
    EXPECT_EQ(static_cast<float>(std::stod(std::string(text.View()))), 1.0f / 3.0f);
}

}  // namespace
