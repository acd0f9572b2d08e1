// VexlParse forms and frames: both tags are rebuilt; a form names its target
// page and carries the configured variables in hidden fields (under
// SafeOutput escaped, with their type letters and exact values).
#include "foundation/IniFile.h"
#include "quince/Tokeniser.h"
#include "page/SafeOutput.h"
#include "page/VexlPage.h"
#include "tags/VexlParse.h"
#include "values/Variable.h"

void VexlParse::HandleFrame(HtmlObject* tag) {
    HtmlObject* evaluated = CanEvaluateTag(tag) ? EvaluateTag(tag) : nullptr;
    HtmlObject* work = evaluated != nullptr ? evaluated : tag;
    if (work->IsEndTag()) {
        Page->AppendOutput(NyxString("</FRAME>\n"));
        delete evaluated;
        return;
    }
    NyxString text("<FRAME");
    const int count = static_cast<int>(work->GetCount());
    for (int i = 1; i <= count; ++i) {
        const HtmlTagParam& param = *work->GetEntry(i);
        if (param.GetName().IsEqualTo("src", false)) {
            AppendRebuiltUrl(text, *tag->GetEntry(i), param);
        } else {
            AppendRebuiltParam(text, *tag->GetEntry(i), param);
        }
    }
    text += ">";
    Page->AppendOutput(text);
    delete evaluated;
}

void VexlParse::HandleForm(HtmlObject* tag) {
    if (tag->IsEndTag()) {
        Page->AppendOutput(NyxString("</FORM>\n"));
        return;
    }
    Page->AppendOutput(NyxString("<FORM"));
    const int count = static_cast<int>(tag->GetCount());
    for (int i = 1; i <= count; ++i) {
        HtmlTagParam* param = tag->GetEntry(i);
        const NyxString& name = param->GetName();
        if (name.IsEqualTo("_htmlfile", false) || name.IsEqualTo("htmlfile", false) ||
            name.IsEqualTo("action", false)) {
            continue;
        }
        if (Page->SafeOutput) {
            // In the quotes the page wrote, so that its own markup stays whole.
            NyxString text;
            param->AppendOutputTo(text);
            Page->AppendOutput(text);
        } else {
            Page->PrintOutput(" %S='%S'", &name, &param->GetValue());
        }
    }
    const int actionIndex = tag->FindEntry("action");
    if (actionIndex != 0) {
        HtmlTagParam* action = EvaluateTagParam(tag->GetEntry(actionIndex));
        if (Page->SafeOutput && HasExpressionForm(tag->GetEntry(actionIndex)->GetValue())) {
            NyxString text(" action=\"");
            AppendSafeAttributeValue(text, action->GetValue().View(), true);
            text += "\"";
            Page->AppendOutput(text);
        } else {
            Page->PrintOutput(" action='%S'", &action->GetValue());
        }
        delete action;
    }
    if (tag->FindEntry("method") == 0) Page->AppendOutput(NyxString(" method='post'"));
    Page->AppendOutput(NyxString(">\n"));

    int pageIndex = tag->FindEntry("_htmlfile");
    if (pageIndex == 0) pageIndex = tag->FindEntry("htmlfile");
    const bool hasPageParameter = pageIndex != 0;
    if (hasPageParameter) {
        HtmlTagParam* target = EvaluateTagParam(tag->GetEntry(pageIndex));
        if (target->GetValue().IsNotEmpty()) WriteHiddenField(NyxString("_htmlfile"), target->GetValue());
        delete target;
    }

    NyxString names;
    Page->Context->GetConfig().GetEntryValue("General", "PropagatedVariables", names, "");
    if (names.IsEmpty()) return;
    names.ReplaceAll(",", " ");
    names.ReplaceAll(";", " ");
    names.ReplaceAll(":", " ");
    Tokeniser tokens(names);
    for (NyxString token = tokens.GetNextToken(1, 1); token.IsNotEmpty(); token = tokens.GetNextToken(1, 1)) {
        if (hasPageParameter && token.IsEqualTo("htmlfile", false)) continue;
        if (token.IsEqualTo("_htmlfile", false)) continue;
        Variable* variable = Page->Context->GetVariable(token, QuinceContext::VarListPage);
        if (variable == nullptr) continue;
        if (Page->SafeOutput) {
            WriteExactHiddenField(variable);
            continue;
        }
        NyxString text;
        variable->DumpValue(text, NyxString());
        text.ReplaceAll(" ", "+");
        if (text.GetLength() >= 1 && text[0] == '"') {
            text.SetLength(text.GetLength() - 1);
            text.Remove(0, 1);
        }
        WriteHiddenField(variable->GetVarName(), text);
    }
}

void VexlParse::WriteHiddenField(const NyxString& name, const NyxString& value) {
    if (!Page->SafeOutput) {
        Page->PrintOutput("<INPUT type='hidden' name='%S' value='%S'>\n", &name, &value);
        return;
    }
    NyxString text("<INPUT type=\"hidden\" name=\"");
    AppendSafeAttributeValue(text, name.View(), false);
    text += "\" value=\"";
    AppendSafeAttributeValue(text, value.View(), false);
    text += "\">\n";
    Page->AppendOutput(text);
}

// The field's name carries the value's type letter and its value the exact
// text, so that the next request reads back the same value; an array keeps
// its dumped text under its bare name.
void VexlParse::WriteExactHiddenField(Variable* variable) {
    NyxString name = variable->GetVarName();
    char letter = 0;
    NyxString value;
    if (DescribeExactValue(variable, letter, value)) {
        name += ".";
        name.Append(letter, 1);
    } else {
        variable->DumpValue(value, NyxString());
    }
    WriteHiddenField(name, value);
}
