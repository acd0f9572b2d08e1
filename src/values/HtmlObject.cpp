// HtmlObject: one text stretch or tag of a parsed page, and its rendering.
#include "values/HtmlObject.h"

#include "values/HtmlTagIds.h"

HtmlObject::HtmlObject(const HtmlObject& other)
    : HtmlTagParamList(other),
      TagIdValue(other.TagIdValue),
      LineNum(other.LineNum),
      SourceSize(other.SourceSize),
      SourceOffset(other.SourceOffset),
      StartFlag(other.StartFlag),
      EndFlag(other.EndFlag),
      ClosingForm(other.ClosingForm),
      ContentIsLabel(other.ContentIsLabel),
      Content(other.Content) {}

HtmlObject& HtmlObject::operator=(const HtmlObject& other) {
    if (this == &other) return *this;
    HtmlTagParamList::operator=(other);
    TagIdValue = other.TagIdValue;
    StartFlag = other.StartFlag;
    EndFlag = other.EndFlag;
    LineNum = other.LineNum;
    ClosingForm = other.ClosingForm;
    ContentIsLabel = other.ContentIsLabel;
    Content = other.Content;
    SourceOffset = other.SourceOffset;
    SourceSize = other.SourceSize;
    return *this;
}

HtmlObject::~HtmlObject() = default;

void HtmlObject::SetTagId(int id, int endFlag) {
    TagIdValue = id;
    EndFlag = endFlag != 0 ? 1 : 0;
    StartFlag = id != TagId::Text && EndFlag == 0 ? 1 : 0;
}

const NyxString& HtmlObject::EmptyString() {
    static const NyxString empty;
    return empty;
}

void HtmlObject::SetTagLabel(std::string_view label) {
    if (!Content.IsEmpty()) Content.Clear();
    Content.AppendBytes(label.data(), label.size());
    ContentIsLabel = true;
}

void HtmlObject::SetText(std::string_view text) {
    if (!Content.IsEmpty()) Content.Clear();
    Content.AppendBytes(text.data(), text.size());
    ContentIsLabel = false;
}

NyxString HtmlObject::Output() const {
    NyxString out;
    AppendOutputTo(out);
    return out;
}

void HtmlObject::AppendOutputTo(NyxString& out) const { AppendOutputTo(out, nullptr, 0); }

void HtmlObject::AppendOutputTo(NyxString& out, const NyxString* const* replacements, unsigned count,
                                unsigned* replacedAt) const {
    if (TagIdValue == TagId::Text) {
        const NyxString& text = GetText();
        out.AppendBytes(text.GetString(), text.GetSize());
        return;
    }
    const NyxString& label = GetTagLabel();
    out.Append('<');
    if (EndFlag != 0) {
        out.Append('/');
        out.AppendBytes(label.GetString(), label.GetSize());
        out.Append('>');
        return;
    }
    out.AppendBytes(label.GetString(), label.GetSize());
    for (unsigned i = 1; i <= GetCount(); ++i) {
        const auto* param = static_cast<const HtmlTagParam*>(NodeList::GetEntry(i));
        const NyxString* replacement = i <= count ? replacements[i - 1] : nullptr;
        if (replacement == nullptr) {
            param->AppendOutputTo(out);
            continue;
        }
        out.Append(' ');
        out.AppendBytes(param->GetName().GetString(), param->GetName().GetSize());
        out.AppendBytes("=\"", 2);
        if (replacedAt != nullptr) replacedAt[i - 1] = out.GetSize();
        out.AppendBytes(replacement->GetString(), replacement->GetSize());
        out.Append('"');
    }
    if (ClosingForm == Closing::Slash) out.Append('/');
    if (ClosingForm == Closing::BlankSlash) out.Append(" /");
    out.Append('>');
}
