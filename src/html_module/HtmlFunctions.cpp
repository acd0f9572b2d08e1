// HtmlFunctions: html_count, html_label, html_param ... over a page variable.
// Objects are numbered from 0 (as the tag position a procedure receives),
// parameters from 1 (as in the page's object model).
#include "html_module/HtmlFunctions.h"

#include "html_module/HtmlPageVariable.h"
#include "quince/FunctionModule.h"
#include "quince/QuinceContext.h"
#include "values/HtmlObject.h"
#include "values/HtmlTagParam.h"
#include "values/VarBoolean.h"
#include "values/VarInteger.h"
#include "values/VarMap.h"
#include "values/VarString.h"

namespace HtmlFunctions {
namespace {

Variable* MakeInteger(long value) {
    auto* result = new VarInteger;
    result->SetIntegerValue(value);
    return result;
}

Variable* MakeBool(bool value) {
    auto* result = new VarBoolean;
    result->SetBoolValue(value ? 1 : 0);
    return result;
}

Variable* MakeString(const NyxString& value) {
    auto* result = new VarString;
    result->SetStringValue(value);
    return result;
}

// The page of the first argument; sets `error` if it is none.
const HtmlPageSnapshot* PageArgument(Variable** arguments, const char* function, NyxString& error) {
    const HtmlPageVariable* page = HtmlPageVariable::From(arguments[0]);
    if (page == nullptr) {
        error.Printf("%s: the first argument is not a page (the first argument of a user tag's procedure)",
                     function);
        return nullptr;
    }
    return &page->GetSnapshot();
}

// The object numbered by the second argument; sets `error` if there is none.
const HtmlObject* ObjectArgument(Variable** arguments, const char* function, NyxString& error) {
    const HtmlPageSnapshot* page = PageArgument(arguments, function, error);
    if (page == nullptr) return nullptr;
    const long index = arguments[1]->GetIntegerValue();
    const HtmlObject* object = page->GetObject(index);
    if (object == nullptr) {
        error.Printf("%s: no object %ld (the page has %u, numbered from 0)", function, index, page->GetCount());
    }
    return object;
}

// Parameter number k (the third argument) of the object; sets `error` if absent.
const HtmlTagParam* ParamArgument(Variable** arguments, const char* function, NyxString& error) {
    const HtmlObject* object = ObjectArgument(arguments, function, error);
    if (object == nullptr) return nullptr;
    const long number = arguments[2]->GetIntegerValue();
    const HtmlTagParam* param =
        number >= 1 && number <= static_cast<long>(object->GetCount()) ? object->GetEntry(static_cast<int>(number)) : nullptr;
    if (param == nullptr) {
        error.Printf("%s: object %ld has no parameter %ld (it has %u, numbered from 1)", function,
                     arguments[1]->GetIntegerValue(), number, object->GetCount());
    }
    return param;
}

// html_count(page): the number of objects.
Variable* Count(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlPageSnapshot* page = PageArgument(arguments, "html_count", error);
    return page != nullptr ? MakeInteger(page->GetCount()) : nullptr;
}

// html_label(page, i): the tag's label as written; "" for text.
Variable* Label(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlObject* object = ObjectArgument(arguments, "html_label", error);
    return object != nullptr ? MakeString(object->GetTagLabel()) : nullptr;
}

// html_tagid(page, i): the tag id (0 for text).
Variable* TagIdOf(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlObject* object = ObjectArgument(arguments, "html_tagid", error);
    return object != nullptr ? MakeInteger(object->GetTagId()) : nullptr;
}

// html_isend(page, i): whether the object is an end tag.
Variable* IsEnd(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlObject* object = ObjectArgument(arguments, "html_isend", error);
    return object != nullptr ? MakeBool(object->IsEndTag() != 0) : nullptr;
}

// html_text(page, i): the text of a text object; "" for a tag.
Variable* Text(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlObject* object = ObjectArgument(arguments, "html_text", error);
    return object != nullptr ? MakeString(object->GetText()) : nullptr;
}

// html_line(page, i): the line on which the object begins.
Variable* Line(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlObject* object = ObjectArgument(arguments, "html_line", error);
    return object != nullptr ? MakeInteger(static_cast<long>(object->GetLineNum())) : nullptr;
}

// html_output(page, i): the object rendered as the page would print it.
Variable* Output(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlObject* object = ObjectArgument(arguments, "html_output", error);
    return object != nullptr ? MakeString(object->Output()) : nullptr;
}

// html_paramcount(page, i): the number of parameters.
Variable* ParamCount(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlObject* object = ObjectArgument(arguments, "html_paramcount", error);
    return object != nullptr ? MakeInteger(object->GetCount()) : nullptr;
}

// html_param(page, i, name): the value of the named parameter, ignoring
// case; "" when absent.
Variable* Param(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlObject* object = ObjectArgument(arguments, "html_param", error);
    return object != nullptr ? MakeString(object->GetStrValue(arguments[2]->GetText())) : nullptr;
}

// html_hasparam(page, i, name): whether the tag has the named parameter.
Variable* HasParam(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlObject* object = ObjectArgument(arguments, "html_hasparam", error);
    return object != nullptr ? MakeBool(object->FindEntry(arguments[2]->GetText()) != 0) : nullptr;
}

// html_paramname(page, i, k): the name of parameter k as written.
Variable* ParamName(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlTagParam* param = ParamArgument(arguments, "html_paramname", error);
    return param != nullptr ? MakeString(param->GetName()) : nullptr;
}

// html_paramvalue(page, i, k): the value of parameter k, without quotes.
Variable* ParamValue(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlTagParam* param = ParamArgument(arguments, "html_paramvalue", error);
    return param != nullptr ? MakeString(param->GetValue()) : nullptr;
}

// html_params(page, i): the parameters as a map from their names, as
// written, to their values, in their order (a name written twice keeps its
// first place and its last value).
Variable* Params(QuinceContext*, Variable** arguments, unsigned, NyxString& error) {
    const HtmlObject* object = ObjectArgument(arguments, "html_params", error);
    if (object == nullptr) return nullptr;
    auto* params = new VarMap;
    for (unsigned i = 1; i <= object->GetCount(); ++i) {
        const HtmlTagParam* param = object->GetEntry(static_cast<int>(i));
        auto* value = new VarString(param->GetName());
        value->SetStringValue(param->GetValue());
        if (params->AddStructElement(value, 0) == 0) Variable::Delete(value);
    }
    return params;
}

struct FunctionEntry {
    const char* Name;
    QuinceNativeFunction Function;
    unsigned Arguments;
};

constexpr FunctionEntry kFunctions[] = {
    {"html_count", Count, 1},          {"html_label", Label, 2},         {"html_tagid", TagIdOf, 2},
    {"html_isend", IsEnd, 2},          {"html_text", Text, 2},           {"html_line", Line, 2},
    {"html_output", Output, 2},        {"html_paramcount", ParamCount, 2}, {"html_param", Param, 3},
    {"html_hasparam", HasParam, 3},    {"html_paramname", ParamName, 3}, {"html_paramvalue", ParamValue, 3},
    {"html_params", Params, 2},
};

}  // namespace

bool RegisterAll(QuinceContext* context) {
    if (context == nullptr) return false;
    bool all = true;
    for (const FunctionEntry& entry : kFunctions) {
        if (context->RegisterFunction(entry.Name, entry.Function, entry.Arguments, entry.Arguments) == 0) all = false;
    }
    return all;
}

}  // namespace HtmlFunctions
