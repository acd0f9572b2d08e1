// VexlAnchor: the generated href is "?_htmlfile=PAGE" followed by one
// "&name.letter=value" pair for each variable that exists, in the order of
// `vars`. Values are written raw but for blanks, which become "+"; under
// SafeOutput every part is percent-encoded and the pairs are joined by "&amp;".
#include "blocks/VexlAnchor.h"

#include <memory>

#include "foundation/NodeList.h"
#include "page/SafeOutput.h"
#include "page/VexlPage.h"
#include "values/Variable.h"

namespace {

// The letter and the text of a value; false for a type with no letter
// (arrays), which gives no pair.
bool DescribeValue(Variable* variable, char& letter, NyxString& text) {
    switch (variable->GetTypeId()) {
    case Variable::TypeBoolean:
        letter = 'b';
        text.Printf("%u", static_cast<unsigned>(variable->GetBoolValue()));
        return true;
    case Variable::TypeChar:
        letter = 'c';
        text.Printf("%u", static_cast<unsigned>(static_cast<unsigned char>(variable->GetCharValue())));
        return true;
    case Variable::TypeInteger:
        letter = 'i';
        text.Printf("%u", static_cast<unsigned>(variable->GetIntegerValue()));
        return true;
    case Variable::TypeFloat:
        letter = 'f';
        text.Printf("%f", static_cast<double>(variable->GetFloatValue()));
        return true;
    case Variable::TypeDouble:
        letter = 'd';
        text.Printf("%f", variable->GetDoubleValue());
        return true;
    case Variable::TypeString:
        letter = 's';
        text = variable->GetStringValue();
        return true;
    default:
        return false;
    }
}

}  // namespace

void VexlAnchor::AppendPairs(HtmlObject* tag, NyxString& text, bool encoded) {
    if (tag->FindEntryExact("vars") == 0) return;
    std::unique_ptr<NodeList> names(GetTagParamValues(tag, "vars"));
    if (names == nullptr) return;
    for (unsigned i = 1; i <= names->GetCount(); ++i) {
        const NyxString name(static_cast<const char*>(names->GetEntry(i)));
        Variable* variable = Page->Context->GetVariable(name, QuinceContext::VarListPage);
        if (variable == nullptr) continue;
        char letter = 0;
        NyxString value;
        if (!encoded) {
            if (!DescribeValue(variable, letter, value)) continue;
            value.ReplaceAll(" ", "+");
            text += "&";
            text += name;
            text += ".";
            text.Append(letter, 1);
            text += "=";
            text += value;
            continue;
        }
        if (!DescribeExactValue(variable, letter, value)) continue;
        text += "&amp;";
        AppendLinkComponent(text, name.View());
        text += ".";
        text.Append(letter, 1);
        text += "=";
        AppendLinkComponent(text, value.View());
    }
}

int VexlAnchor::Start(int index, HtmlObject*) {
    HtmlObject* source = Page->HtmlList->GetEntry(index);
    std::unique_ptr<HtmlObject> evaluated(CanEvaluateTag(source) ? EvaluateTag(source) : nullptr);
    HtmlObject* tag = evaluated != nullptr ? evaluated.get() : source;

    if (tag->IsEndTag()) {
        Page->AppendOutput("</A>", 4);
        return index;
    }
    NyxString text("<A");
    const int count = static_cast<int>(tag->GetCount());
    for (int i = 1; i <= count; ++i) {
        const HtmlTagParam& param = *tag->GetEntry(i);
        const NyxString& name = param.GetName();
        if (name.IsEqualTo("href", false)) {
            AppendRebuiltUrl(text, *source->GetEntry(i), param);
        } else if (!name.IsEqualTo("_htmlfile", true) && !name.IsEqualTo("htmlfile", true) &&
                   !name.IsEqualTo("vars", true)) {
            AppendRebuiltParam(text, *source->GetEntry(i), param);
        }
    }
    if (tag->FindEntry("href") != 0) {
        text += ">";
        Page->AppendOutput(text);
        return index;
    }

    const int pageIndex = tag->FindEntryExact("_htmlfile");
    NyxString target = pageIndex != 0 ? tag->GetEntry(pageIndex)->GetValue() : NyxString();
    if (target.IsEmpty()) {
        const int fallback = tag->FindEntryExact("htmlfile");
        if (fallback != 0) target = tag->GetEntry(fallback)->GetValue();
    }
    if (target.IsEmpty()) {
        text += ">";
        Page->AppendOutput(text);
        return index;
    }

    NyxString link(" href='?_htmlfile=");
    if (Page->SafeOutput) {
        AppendLinkComponent(link, target.View());
    } else {
        target.ReplaceAll(" ", "+");
        link += target;
    }
    AppendPairs(tag, link, Page->SafeOutput);
    link += "'>";
    text += ChangeURL(link);
    Page->AppendOutput(text);
    return index;
}
