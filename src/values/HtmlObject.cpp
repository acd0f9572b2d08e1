// HtmlObject: one text stretch or tag of a parsed page, and its rendering.
#include "values/HtmlObject.h"

#include "values/HtmlTagIds.h"

HtmlObject::HtmlObject(unsigned int lineNum) : LineNum(lineNum) {}

HtmlObject::HtmlObject(const HtmlObject& other)
    : HtmlTagParamList(other),
      TagIdValue(other.TagIdValue),
      StartFlag(other.StartFlag),
      EndFlag(other.EndFlag),
      LineNum(other.LineNum),
      ClosingForm(other.ClosingForm),
      Text(other.Text),
      TagLabel(other.TagLabel),
      SourceOffset(other.SourceOffset),
      SourceSize(other.SourceSize) {}

HtmlObject& HtmlObject::operator=(const HtmlObject& other) {
    if (this == &other) return *this;
    HtmlTagParamList::operator=(other);
    TagIdValue = other.TagIdValue;
    StartFlag = other.StartFlag;
    EndFlag = other.EndFlag;
    LineNum = other.LineNum;
    ClosingForm = other.ClosingForm;
    Text = other.Text;
    TagLabel = other.TagLabel;
    SourceOffset = other.SourceOffset;
    SourceSize = other.SourceSize;
    return *this;
}

HtmlObject::~HtmlObject() = default;

void HtmlObject::SetTagId(int id, int endFlag) {
    TagIdValue = id;
    EndFlag = endFlag != 0 ? 1 : 0;
    StartFlag = id != 0 && EndFlag == 0 ? 1 : 0;
}

void HtmlObject::SetTagLabel(std::string_view label) {
    TagLabel.Clear();
    TagLabel.AppendBytes(label.data(), label.size());
}

void HtmlObject::SetText(std::string_view text) {
    Text.Clear();
    Text.AppendBytes(text.data(), text.size());
}

NyxString HtmlObject::Output() const {
    NyxString out;
    AppendOutputTo(out);
    return out;
}

void HtmlObject::AppendOutputTo(NyxString& out) const {
    if (TagIdValue == TagId::Text) {
        out.AppendBytes(Text.GetString(), Text.GetSize());
        return;
    }
    out.Append('<');
    if (EndFlag != 0) {
        out.Append('/');
        out.AppendBytes(TagLabel.GetString(), TagLabel.GetSize());
        out.Append('>');
        return;
    }
    out.AppendBytes(TagLabel.GetString(), TagLabel.GetSize());
    for (unsigned i = 1; i <= GetCount(); ++i) {
        static_cast<const HtmlTagParam*>(NodeList::GetEntry(i))->AppendOutputTo(out);
    }
    if (ClosingForm == Closing::Slash) out.Append('/');
    if (ClosingForm == Closing::BlankSlash) out.Append(" /");
    out.Append('>');
}
