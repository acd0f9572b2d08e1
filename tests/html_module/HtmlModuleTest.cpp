// Tests of the html module html.qnc, loaded from the build as the page loads
// it: HtmlFileToVariable's copy of the page, and the html_* functions, called
// directly and from a Quince procedure as a user tag runs it.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "foundation/Modules.h"
#include "quince/Engine.h"
#include "quince/FunctionModule.h"
#include "quince/QuinceContext.h"
#include "quince/Stack.h"
#include "values/HtmlObjectList.h"
#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

using HtmlFileToVariableFunction = Variable* (*)(FunctionModuleCall* call, HtmlObjectList* list);

const char* const kPage =
    "<p>Hi</p>\n"
    "<MyTag Name=\"x\" size=3 title='a b' flag>body\n"
    "</MyTag>";
// Objects: 0 <p>, 1 "Hi", 2 </p>, 3 "\n", 4 <MyTag ...>, 5 "body\n", 6 </MyTag>.

class HtmlModuleTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        Module = ModuleOpen(NyxString(VEXL_BINARY_DIR "/html.qnc"));
        if (Module == nullptr) return;
        ToVariable = reinterpret_cast<HtmlFileToVariableFunction>(ModuleSymbol(Module, "HtmlFileToVariable"));
        Init = reinterpret_cast<QuinceModuleInitFunction>(ModuleSymbol(Module, kQuinceModuleInitName));
    }
    // The module stays loaded: its variables' code lives in it.

    void SetUp() override {
        ASSERT_NE(Module, nullptr) << "html.qnc not built in " VEXL_BINARY_DIR;
        ASSERT_NE(ToVariable, nullptr);
        ASSERT_NE(Init, nullptr);
        List = std::make_unique<HtmlObjectList>(NyxString("page.vxl"), kPage);
        ASSERT_EQ(List->GetCount(), 7u);
        FunctionModuleCall call{&Context, nullptr, 0, NyxString()};
        Page.reset(ToVariable(&call, List.get()));
        ASSERT_NE(Page, nullptr);
        ASSERT_EQ(Init(&Context), 1);
    }

    // Calls a registered function with the given arguments.
    std::unique_ptr<Variable> Call(const char* name, std::initializer_list<Variable*> arguments, NyxString& error) {
        const quince::NativeFunction* native = Context.GetEngine().FindNative(name);
        EXPECT_NE(native, nullptr) << name;
        if (native == nullptr) return nullptr;
        EXPECT_GE(arguments.size(), native->MinArguments);
        EXPECT_LE(arguments.size(), native->MaxArguments);
        Variable* passed[4] = {};
        unsigned count = 0;
        for (Variable* argument : arguments) passed[count++] = argument;
        error.Clear();
        return std::unique_ptr<Variable>(native->Function(&Context, passed, count, error));
    }

    std::string CallText(const char* name, std::initializer_list<Variable*> arguments) {
        NyxString error;
        std::unique_ptr<Variable> result = Call(name, arguments, error);
        EXPECT_TRUE(error.IsEmpty()) << name << ": " << error.ToStd();
        return result != nullptr ? result->GetText().ToStd() : "<null>";
    }

    static VarInteger* Integer(long value) {
        auto* v = new VarInteger;
        v->SetIntegerValue(value);
        Owned.emplace_back(v);
        return v;
    }
    static VarString* String(const char* value) {
        auto* v = new VarString;
        v->SetStringValue(NyxString(value));
        Owned.emplace_back(v);
        return v;
    }
    void TearDown() override { Owned.clear(); }

    static inline void* Module = nullptr;
    static inline HtmlFileToVariableFunction ToVariable = nullptr;
    static inline QuinceModuleInitFunction Init = nullptr;
    static inline std::vector<std::unique_ptr<Variable>> Owned;

    QuinceContext Context{nullptr};
    std::unique_ptr<HtmlObjectList> List;
    std::unique_ptr<Variable> Page;
};

TEST_F(HtmlModuleTest, NoListGivesNoVariable) {
    FunctionModuleCall call{&Context, nullptr, 0, NyxString()};
    EXPECT_EQ(ToVariable(&call, nullptr), nullptr);
}

TEST_F(HtmlModuleTest, ThePageIsAHandleVariable) {
    EXPECT_EQ(Page->GetTypeId(), Variable::TypeHandle);
    EXPECT_NE(Page->GetHandleValue(), nullptr);
    EXPECT_EQ(Page->GetText().ToStd(), "[html page: 7 objects]");
    NyxString type;
    Page->DumpType(type, "", 0);
    EXPECT_EQ(type.ToStd(), "htmlpage");
}

TEST_F(HtmlModuleTest, CountAndObjects) {
    EXPECT_EQ(CallText("html_count", {Page.get()}), "7");
    EXPECT_EQ(CallText("html_label", {Page.get(), Integer(4)}), "MyTag");
    EXPECT_EQ(CallText("html_label", {Page.get(), Integer(1)}), "");
    EXPECT_EQ(CallText("html_text", {Page.get(), Integer(1)}), "Hi");
    EXPECT_EQ(CallText("html_text", {Page.get(), Integer(5)}), "body\n");
    EXPECT_EQ(CallText("html_text", {Page.get(), Integer(4)}), "");
    EXPECT_EQ(CallText("html_isend", {Page.get(), Integer(6)}), "true");
    EXPECT_EQ(CallText("html_isend", {Page.get(), Integer(4)}), "false");
    EXPECT_EQ(CallText("html_label", {Page.get(), Integer(6)}), "MyTag");
    EXPECT_EQ(CallText("html_line", {Page.get(), Integer(0)}), "1");
    EXPECT_EQ(CallText("html_line", {Page.get(), Integer(4)}), "2");
    EXPECT_EQ(CallText("html_line", {Page.get(), Integer(6)}), "3");
    EXPECT_EQ(CallText("html_tagid", {Page.get(), Integer(1)}), "0");
    EXPECT_EQ(CallText("html_output", {Page.get(), Integer(4)}), "<MyTag Name=\"x\" size=\"3\" title='a b' flag>");
    EXPECT_EQ(CallText("html_output", {Page.get(), Integer(6)}), "</MyTag>");
    EXPECT_EQ(CallText("html_output", {Page.get(), Integer(3)}), "\n");
}

TEST_F(HtmlModuleTest, Parameters) {
    EXPECT_EQ(CallText("html_paramcount", {Page.get(), Integer(4)}), "4");
    EXPECT_EQ(CallText("html_paramcount", {Page.get(), Integer(1)}), "0");
    EXPECT_EQ(CallText("html_param", {Page.get(), Integer(4), String("name")}), "x");  // any case
    EXPECT_EQ(CallText("html_param", {Page.get(), Integer(4), String("TITLE")}), "a b");
    EXPECT_EQ(CallText("html_param", {Page.get(), Integer(4), String("absent")}), "");
    EXPECT_EQ(CallText("html_hasparam", {Page.get(), Integer(4), String("FLAG")}), "true");
    EXPECT_EQ(CallText("html_hasparam", {Page.get(), Integer(4), String("absent")}), "false");
    EXPECT_EQ(CallText("html_paramname", {Page.get(), Integer(4), Integer(1)}), "Name");
    EXPECT_EQ(CallText("html_paramvalue", {Page.get(), Integer(4), Integer(2)}), "3");
    EXPECT_EQ(CallText("html_paramname", {Page.get(), Integer(4), Integer(4)}), "flag");
    EXPECT_EQ(CallText("html_paramvalue", {Page.get(), Integer(4), Integer(4)}), "");
}

TEST_F(HtmlModuleTest, NumbersOutOfRangeAreErrors) {
    NyxString error;
    EXPECT_EQ(Call("html_label", {Page.get(), Integer(7)}, error), nullptr);
    EXPECT_EQ(error.ToStd(), "html_label: no object 7 (the page has 7, numbered from 0)");
    EXPECT_EQ(Call("html_label", {Page.get(), Integer(-1)}, error), nullptr);
    EXPECT_FALSE(error.IsEmpty());
    EXPECT_EQ(Call("html_paramname", {Page.get(), Integer(4), Integer(0)}, error), nullptr);
    EXPECT_EQ(error.ToStd(), "html_paramname: object 4 has no parameter 0 (it has 4, numbered from 1)");
    EXPECT_EQ(Call("html_paramvalue", {Page.get(), Integer(4), Integer(5)}, error), nullptr);
    EXPECT_FALSE(error.IsEmpty());
}

TEST_F(HtmlModuleTest, TheFirstArgumentMustBeAPage) {
    NyxString error;
    EXPECT_EQ(Call("html_count", {Integer(3)}, error), nullptr);
    EXPECT_NE(error.ToStd().find("html_count: the first argument is not a page"), std::string::npos);
}

TEST_F(HtmlModuleTest, TheCopyOutlivesTheList) {
    List.reset();
    EXPECT_EQ(CallText("html_count", {Page.get()}), "7");
    EXPECT_EQ(CallText("html_param", {Page.get(), Integer(4), String("size")}), "3");
}

TEST_F(HtmlModuleTest, ADuplicateAndACloneReadTheSamePage) {
    Variable* duplicate = Page->Duplicate();
    EXPECT_EQ(duplicate->GetTypeId(), Variable::TypeHandle);
    EXPECT_EQ(CallText("html_label", {duplicate, Integer(0)}), "p");
    std::unique_ptr<Variable> clone(duplicate->Clone());
    Variable::Delete(duplicate);
    ASSERT_NE(clone, nullptr);
    Page.reset();
    EXPECT_EQ(CallText("html_count", {clone.get()}), "7");
}

TEST_F(HtmlModuleTest, AProcedureReadsThePageAndMovesThePosition) {
    NyxString output;
    Context.SetOutput(&output);
    const NyxString script(
        "proc mytag(page, pos)\n"
        "  print html_label(page, pos), \"|\", html_param(page, pos, \"name\"), \"|\"\n"
        "  print html_paramcount(page, pos), \"|\", html_text(page, pos + 1)\n"
        "  pos = pos + 2\n"
        "endproc\n");
    ASSERT_NE(Context.CompileScriptBuffer(script, "test.qnc", 1), 0) << output.ToStd();
    VarInteger position;
    position.SetIntegerValue(4);
    Stack stack;
    stack.PushVariable(Page->Duplicate());
    stack.PushVariable(position.Duplicate());
    EXPECT_NE(Context.RunProcedure("mytag", &stack), 0);
    Context.FlushOutput();
    EXPECT_EQ(output.ToStd(), "MyTag|x|4|body\n");
    EXPECT_EQ(position.GetIntegerValue(), 6);
}

TEST_F(HtmlModuleTest, AProcedureConsumesItsBodyAndEndTag) {
    NyxString output;
    Context.SetOutput(&output);
    const NyxString script(
        "proc box(page, pos)\n"
        "  print \"<div class=\\\"box\\\" title=\\\"\", html_param(page, pos, \"title\"), \"\\\">\"\n"
        "  int i = pos + 1\n"
        "  int n = html_count(page)\n"
        "  while i < n\n"
        "    if html_isend(page, i) && html_label(page, i) == html_label(page, pos)\n"
        "      break\n"
        "    endif\n"
        "    print html_output(page, i)\n"
        "    i = i + 1\n"
        "  endwhile\n"
        "  print \"</div>\"\n"
        "  pos = i          // the end tag is consumed too\n"
        "endproc\n");
    ASSERT_NE(Context.CompileScriptBuffer(script, "box.qnc", 1), 0) << output.ToStd();
    VarInteger position;
    position.SetIntegerValue(4);
    Stack stack;
    stack.PushVariable(Page->Duplicate());
    stack.PushVariable(position.Duplicate());
    EXPECT_NE(Context.RunProcedure("box", &stack), 0);
    Context.FlushOutput();
    EXPECT_EQ(output.ToStd(), "<div class=\"box\" title=\"a b\">body\n</div>");
    EXPECT_EQ(position.GetIntegerValue(), 6);
}

}  // namespace
