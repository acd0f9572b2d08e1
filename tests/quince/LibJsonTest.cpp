// JSON in Quince: a differential round trip over generated values, and the
// messages for texts that are no JSON.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "quince/QuinceContext.h"
#include "quince/Stack.h"

namespace {

// A Quince literal of a random value: ints, doubles, bools, strings of UTF-8
// text with escapes, arrays and maps, nested a few levels.
std::string RandomLiteral(std::mt19937& random, int depth) {
    const int kind = static_cast<int>(random() % (depth > 3 ? 4 : 6));
    switch (kind) {
        case 0: return std::to_string(static_cast<int32_t>(random()));
        case 1: {
            const double value = std::ldexp(static_cast<double>(random() % 100000) - 50000, static_cast<int>(random() % 40) - 20);
            char text[64];
            std::snprintf(text, sizeof text, "%.17g", value);
            std::string literal = text;
            if (literal.find_first_of(".e") == std::string::npos) literal += ".0";
            return literal;
        }
        case 2: return random() % 2 ? "true" : "false";
        case 3: {
            static const char* const kPieces[] = {"a", "é", "\\\"", "\\\\", "\\n", "\\t", " ", "{", "]", ":", ",", "日本", "\\x01", "🙂"};
            std::string text = "\"";
            for (unsigned i = random() % 6; i > 0; --i) text += kPieces[random() % (sizeof kPieces / sizeof *kPieces)];
            return text + "\"";
        }
        case 4: {
            std::string text = "[";
            for (unsigned i = random() % 4; i > 0; --i) text += RandomLiteral(random, depth + 1) + (i > 1 ? ", " : "");
            return text + "]";
        }
        default: {
            std::string text = "{";
            for (unsigned i = random() % 4; i > 0; --i) {
                text += "\"k" + std::to_string(random() % 5) + "\": " + RandomLiteral(random, depth + 1) + (i > 1 ? ", " : "");
            }
            return text + "}";
        }
    }
}

std::string RunScript(const std::string& body) {
    QuinceContext context(nullptr);
    NyxString output;
    context.SetOutput(&output);
    const std::string script = "proc main()\n" + body + "\nendproc\n";
    if (context.CompileScriptBuffer(NyxString(script.c_str()), NyxString("json.qnc"), 1) == 0) return "compile: " + output.ToStd();
    Stack stack;
    context.RunProcedure(NyxString("main"), &stack);
    return output.ToStd();
}

// parsejson(json(v)) equals v, and writing it again gives the same text.
TEST(LibJsonTest, GeneratedValuesSurviveARoundTrip) {
    std::mt19937 random(20261124);
    for (int i = 0; i < 300; ++i) {
        const std::string literal = RandomLiteral(random, 0);
        const std::string output = RunScript("var v = " + literal + "\nstring once = json(v)\nvar back = parsejson(once)\n"
                                       "println back == v, \" \", json(back) == once");
        EXPECT_EQ(output, "true true\n") << literal;
    }
}

TEST(LibJsonTest, TextsThatAreNoJsonFailWithTheirPlace) {
    EXPECT_NE(RunScript("println parsejson(\"[1, 2,, 3]\")").find("parsejson: at byte 7: syntax error"), std::string::npos)
        << RunScript("println parsejson(\"[1, 2,, 3]\")");
    EXPECT_NE(RunScript("println parsejson(\"\")").find("parsejson: at byte 1:"), std::string::npos);
    EXPECT_NE(RunScript("println parsejson(\"{\\\"a\\\": tru}\")").find("parsejson: at byte"), std::string::npos);
    // Nesting at the bound and one past it.
    EXPECT_EQ(RunScript("println count(parsejson(repeat(\"[\", 64) + repeat(\"]\", 64)))"), "1\n");
    EXPECT_NE(RunScript("println parsejson(repeat(\"[\", 65) + repeat(\"]\", 65))").find("nested deeper than 64 levels"),
              std::string::npos);
}

}  // namespace
