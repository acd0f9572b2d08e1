// VexlBase: the root of every tag handler. A handler lives for one visit of
// one tag and reaches all state of the request through Page.
#pragma once

#include <cstdint>

#include "values/HtmlObject.h"
#include "values/NyxString.h"

class VexlPage;
class PreparedExpression;
class Stack;
class Variable;

class VexlBase {
public:
    explicit VexlBase(VexlPage* page) : Page(page) {}
    VexlBase(const VexlBase&) = default;
    VexlBase& operator=(const VexlBase&) = default;
    virtual ~VexlBase() = default;

    // Returns the index of the last object consumed, or -1 to end the walk.
    virtual int Start(int index, HtmlObject* stop);

    // Tag evaluation: parameters written as "(expression)" get their value.
    static bool HasExpressionForm(const NyxString& value);
    int CanEvaluateTag(HtmlObject* tag);
    HtmlObject* EvaluateTag(HtmlObject* tag);
    HtmlTagParam* EvaluateTagParam(HtmlTagParam* param);

    int EvaluateCondition(const NyxString& condition);
    // The same for a condition compiled once and run again and again.
    static int EvaluateCondition(PreparedExpression& condition);
    // Appends an expression's value as a tag parameter shows it (nothing for none).
    static void AppendValueText(Variable* value, NyxString& text);
    // The same for an int or bool value (a bool as 0 or 1).
    static void AppendIntegerText(int32_t value, NyxString& text);
    int RunQuinceProcedure(const NyxString& name, Stack* arguments, int parseOutput);
    NyxString CreateTempFile();
    bool TranslateText(NyxString& text);
    NyxString ChangeURL(const NyxString& url);
    // A parameter of an evaluated copy as a rebuilt tag writes it: ` name="value"`
    // with the value escaped under SafeOutput when an expression gave it;
    // `source` is the parameter as the page has it.
    void AppendRebuiltParam(NyxString& text, const HtmlTagParam& source, const HtmlTagParam& param);
    // The same for a parameter holding a URL, which passes through ChangeURL.
    void AppendRebuiltUrl(NyxString& text, const HtmlTagParam& source, const HtmlTagParam& param);

    VexlPage* Page;  // not owned; outlives the handler

protected:
    // The text of a parameter written as "(expression)": its value by type,
    // or empty when the expression fails. False for a value of any other form.
    bool EvaluateParamText(const NyxString& value, NyxString& text);
    // Walks a file as a page of its own on a child page that shares the
    // context and the output; the child's temporary files go to this page.
    void WalkFileOnChildPage(const NyxString& path);
    // The page file's name without folder and extension, spelt as a Quince
    // name (see ScriptNameForStem), for the procedures made from the page.
    NyxString PageFileStem() const;
    static NyxString ScriptNameForStem(const NyxString& stem);
    // Whether the request has ended (time or output used up); the handler
    // that finds the time up says so on the page, at `line`.
    bool StopsForTime(unsigned line);
    // Compiles `source` as the body of a procedure called `name` and records
    // the name in `parameter` on a copy of the tag at `index`, which takes the
    // tag's place in the list. Returns 0 when the compile failed.
    int SynthesizeProcedure(int index, const NyxString& source, const NyxString& name, const char* parameter,
                            unsigned line);
};
