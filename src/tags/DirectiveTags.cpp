// VexlParse directives: SETVAR sets a script variable, SETHEADER a response
// header. Neither prints anything when it succeeds.
#include "quince/ExpressionCompiler.h"
#include "quince/Stack.h"
#include "page/VexlPage.h"
#include "tags/VexlParse.h"
#include "values/Variable.h"

void VexlParse::HandleSetVar(HtmlObject* tag) {
    const int nameIndex = tag->FindEntry("name");
    if (nameIndex == 0) {
        Page->AppendOutput(NyxString("<P>SETVAR tag does not have 'name' parameter.</P>\n"));
        return;
    }
    HtmlTagParam* name = EvaluateTagParam(tag->GetEntry(nameIndex));
    const int existing = Page->Context->FindVariable(name->GetValue(), QuinceContext::VarListPage);
    if (tag->FindEntry("value") == 0) {
        Page->ErrorOutput(tag->GetLineNum(), "<P>SETVAR tag does not have 'value' parameter.</P>\n");
        delete name;
        return;
    }

    const NyxString text = tag->GetStrValue("value");
    Variable* value = nullptr;
    {
        ExpressionCompiler compiler(Page->Context);
        if (compiler.CompileExpression(text, NyxString()) != 0) {
            Stack stack;
            compiler.EvaluateExpression(&stack);
            value = stack.PopVariable();
        }
    }
    if (value == nullptr) {
        const NyxString shownText = Page->Shown(text);
        Page->ErrorOutput(tag->GetLineNum(),
                          "<P>Failed to evaluate SETVAR tag value parameter '%S', try '\"S\"'</P>\n", &shownText);
        delete name;
        return;
    }

    if (existing == -1) {
        Variable* created = value->Clone();
        if (created != nullptr) {
            created->SetVarName(name->GetValue());
            Page->Context->AddVariable(created, QuinceContext::VarListPage);
        }
    } else {
        Variable* target = Page->Context->GetVariable(name->GetValue(), QuinceContext::VarListPage);
        if (target != nullptr) target->Assign(value);
    }
    Variable::Delete(value);
    delete name;
}

void VexlParse::HandleSetHeader(HtmlObject* tag) {
    const NyxString name = tag->GetStrValue("name");
    const int valueIndex = tag->FindEntry("value");
    if (valueIndex == 0) {
        Page->ErrorOutput(tag->GetLineNum(), "<P>SETHEADER tag does not have 'name' or 'value' parameter.</P>\n");
        return;
    }
    HtmlTagParam* value = EvaluateTagParam(tag->GetEntry(valueIndex));
    if (name.IsNotEmpty() && value->GetValue().IsNotEmpty()) {
        Page->Headers.Add(name, value->GetValue());
    } else {
        Page->ErrorOutput(tag->GetLineNum(), "<P>SETHEADER tag does not have 'name' or 'value' parameter.<P>\n");
    }
    delete value;
}
