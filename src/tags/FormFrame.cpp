// VexlParse forms and frames: both tags are rebuilt; a form names its target
// page and carries the configured variables in hidden fields.
#include "outside/foundation/IniFile.h"
#include "outside/quince/Tokeniser.h"
#include "page/VexlPage.h"
#include "tags/VexlParse.h"
#include "values/Variable.h"

namespace {
constexpr auto kPageList = static_cast<QuinceContext::enum_VarListType>(2);
}

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
        HtmlTagParam* param = work->GetEntry(i);
        if (param->GetName().IsEqualTo("src", false)) {
            text += " src=\"";
            text += ChangeURL(param->GetValue());
            text += "\"";
        } else {
            text += param->Output();
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
        Page->PrintOutput(" %S='%S'", &name, &param->GetValue());
    }
    const int actionIndex = tag->FindEntry("action");
    if (actionIndex != 0) {
        HtmlTagParam* action = EvaluateTagParam(tag->GetEntry(actionIndex));
        Page->PrintOutput(" action='%S'", &action->GetValue());
        delete action;
    }
    if (tag->FindEntry("method") == 0) Page->AppendOutput(NyxString(" method='post'"));
    Page->AppendOutput(NyxString(">\n"));

    int pageIndex = tag->FindEntry("_htmlfile");
    if (pageIndex == 0) pageIndex = tag->FindEntry("htmlfile");
    const bool hasPageParameter = pageIndex != 0;
    if (hasPageParameter) {
        HtmlTagParam* target = EvaluateTagParam(tag->GetEntry(pageIndex));
        if (target->GetValue().IsNotEmpty()) {
            Page->PrintOutput("<INPUT type='hidden' name='_htmlfile' value='%S'>\n", &target->GetValue());
        }
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
        Variable* variable = Page->Context->GetVariable(token, kPageList);
        if (variable == nullptr) continue;
        NyxString text;
        variable->DumpValue(text, NyxString());
        text.ReplaceAll(" ", "+");
        if (text.GetLength() >= 1 && text[0] == '"') {
            text.SetLength(text.GetLength() - 1);
            text.Remove(0, 1);
        }
        const NyxString variableName = variable->GetVarName();
        Page->PrintOutput("<INPUT type='hidden' name='%S' value='%S'>\n", &variableName, &text);
    }
}
