// Tests of SessionValueCodec: the stored text of each type, refusals, and
// malformed or too deeply nested texts.
#include "quince/SessionValueCodec.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "values/VarArray.h"
#include "values/VarInteger.h"
#include "values/VarMap.h"
#include "values/VarString.h"

namespace {

class HandleVariable : public Variable {
public:
    HandleVariable() : Variable(TypeHandle, "h") {}
};

TEST(SessionValueCodecTest, EncodesTypeNameAndText) {
    std::string type;
    std::string text;
    VarInteger n;
    n.SetIntegerValue(-3);
    ASSERT_TRUE(SessionValueCodec::Encode(n, type, text));
    EXPECT_EQ(type, "int");
    EXPECT_EQ(text, "-3");
    VarStringArray a;
    a.SetArraySize(2);
    a.GetArrayElement(0)->SetStringValue(NyxString("ab"));
    ASSERT_TRUE(SessionValueCodec::Encode(a, type, text));
    EXPECT_EQ(type, "string[]");
    EXPECT_EQ(text, "string:2:abstring:0:");
}

// A map keeps its keys (any bytes, ':' among them), their order and nested values.
TEST(SessionValueCodecTest, MapsKeepKeysOrderAndNesting) {
    VarMap map;
    auto* count = new VarInteger(NyxString("n:1"));
    count->SetIntegerValue(7);
    map.AddStructElement(count, 0);
    auto* inner = new VarMap(NyxString(""));
    auto* word = new VarString(NyxString("w"));
    word->SetStringValue(NyxString("x:y"));
    inner->AddStructElement(word, 0);
    map.AddStructElement(inner, 0);
    std::string type;
    std::string text;
    ASSERT_TRUE(SessionValueCodec::Encode(map, type, text));
    EXPECT_EQ(type, "map");
    EXPECT_EQ(text, "int:3:n:11:7map:0:15:string:1:w3:x:y");
    std::unique_ptr<Variable> back(SessionValueCodec::Decode(type, text, NyxString("m")));
    ASSERT_NE(back, nullptr);
    NyxString shown;
    back->AppendText(shown);
    EXPECT_EQ(std::string(shown.View()), "{n:1:7,:{w:x:y}}");
    EXPECT_EQ(SessionValueCodec::Decode("map", "int:3:n:11:", NyxString("m")), nullptr);
}

TEST(SessionValueCodecTest, RefusesValuesWithoutAStoredForm) {
    std::string type;
    std::string text;
    HandleVariable handle;
    EXPECT_FALSE(SessionValueCodec::Encode(handle, type, text));
    VarArray holder;
    holder.AddArrayElement(new HandleVariable);
    EXPECT_FALSE(SessionValueCodec::Encode(holder, type, text));
}

TEST(SessionValueCodecTest, DecodeRejectsMalformedTexts) {
    const char* bad[] = {"int:5:1",  "int:1",   "int:x:1", "nosuch:1:1", "int:99999999999:1",
                         "int1:1",   ":1:1",    "int:1:1string:"};
    for (const char* text : bad) {
        EXPECT_EQ(SessionValueCodec::Decode("array", text, "a"), nullptr) << text;
    }
    EXPECT_EQ(SessionValueCodec::Decode("nosuch", "1", "a"), nullptr);
    EXPECT_EQ(SessionValueCodec::Decode("integer[]", "array:0:", "a"), nullptr);  // does not convert
}

TEST(SessionValueCodecTest, DecodeConvertsItemsIntoATypedArray) {
    std::unique_ptr<Variable> v(SessionValueCodec::Decode("integer[]", "string:3:12xint:1:5", "a"));
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->GetText().ToStd(), "[12,5]");
}

std::string Nested(unsigned depth) {
    std::string text;  // an empty array
    for (unsigned i = 1; i < depth; ++i) text = "array:" + std::to_string(text.size()) + ":" + text;
    return text;
}

TEST(SessionValueCodecTest, NestingAtTheLimitAndOnePast) {
    const unsigned limit = SessionValueCodec::kMaxNestingDepth;
    std::unique_ptr<Variable> atLimit(SessionValueCodec::Decode("array", Nested(limit), "a"));
    ASSERT_NE(atLimit, nullptr);
    std::string type;
    std::string text;
    EXPECT_TRUE(SessionValueCodec::Encode(*atLimit, type, text));
    EXPECT_EQ(text, Nested(limit));
    EXPECT_EQ(SessionValueCodec::Decode("array", Nested(limit + 1), "a"), nullptr);

    VarArray root;
    Variable* level = &root;
    for (unsigned i = 1; i < limit + 1; ++i) {
        auto* next = new VarArray;
        level->AddArrayElement(next);
        level = next;
    }
    EXPECT_FALSE(SessionValueCodec::Encode(root, type, text));
}

}  // namespace
