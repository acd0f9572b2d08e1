// VexlBase: what every handler shares: temporary files, URLs, child pages
// and the page file's stem.
#include "tags/VexlBase.h"

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "page/SafeOutput.h"
#include "page/VexlPage.h"
#include "tags/VexlParse.h"

#include <string>

int VexlBase::Start(int, HtmlObject*) { return -1; }

NyxString VexlBase::CreateTempFile() {
    const NyxString path = GetTemporaryFilePath("vexl");
    FileClose(FileCreate(path, 0));
    return path;
}

NyxString VexlBase::ChangeURL(const NyxString& url) { return url; }

void VexlBase::AppendRebuiltParam(NyxString& text, const HtmlTagParam& source, const HtmlTagParam& param) {
    if (!Page->SafeOutput || !HasExpressionForm(source.GetValue())) {
        param.AppendOutputTo(text);
        return;
    }
    text.Append(' ');
    text += param.GetName();
    text += "=\"";
    AppendSafeAttributeValue(text, param.GetValue().View(), IsUrlAttribute(param.GetName().View()));
    text.Append('"');
}

void VexlBase::AppendRebuiltUrl(NyxString& text, const HtmlTagParam& source, const HtmlTagParam& param) {
    text.Append(' ');
    NyxString name = param.GetName();
    text += name.ToLower();
    text += "=\"";
    const NyxString url = ChangeURL(param.GetValue());
    if (Page->SafeOutput && HasExpressionForm(source.GetValue())) {
        AppendSafeAttributeValue(text, url.View(), true);
    } else {
        text += url;
    }
    text.Append('"');
}

bool VexlBase::StopsForTime(unsigned line) {
    WalkBudget& walks = *Page->Walks;
    if (walks.Ended) return true;
    if (!walks.TimeIsUp()) return false;
    walks.End("MaxRunSeconds");
    Page->ErrorOutput(line, "<P>The page ran longer than %u second%s (QuinceConfig MaxRunSeconds).</P>\n",
                      walks.SecondsAllowed, walks.SecondsAllowed == 1 ? "" : "s");
    return true;
}

void VexlBase::WalkFileOnChildPage(const NyxString& path) {
    VexlPage child(*Page);
    child.SetFile(path);
    VexlParse walker(&child);
    walker.Start(0, nullptr);
}

NyxString VexlBase::PageFileStem() const {
    const NyxString path = Page->HtmlList->GetFilePath();
    NyxString stem;
    unsigned separator = path.FindLast("/", false);
    if (separator == NyxString::kAll) separator = path.FindLast("\\", false);
    if (separator != NyxString::kAll) stem = path.GetSubstring(separator + 1);
    if (stem.IsNotEmpty()) {
        const unsigned dot = stem.FindLast(".");
        if (dot != NyxString::kAll) stem.SetLength(dot);
    }
    return ScriptNameForStem(stem);
}

// A stem that is a Quince name stays as it is, so that a page may define its
// procedures on purpose. Any other stem ("my-page", "2024-report", "über")
// is spelt as a name: kept letters, digits and '_', every other byte as
// "_xx" in hex, behind a prefix, so that two different stems never meet.
NyxString VexlBase::ScriptNameForStem(const NyxString& stem) {
    const std::string text = stem.ToStd();
    const auto isNameStart = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    const auto isNamePart = [&](char c) { return isNameStart(c) || (c >= '0' && c <= '9'); };
    bool valid = !text.empty() && isNameStart(text[0]);
    for (char c : text) valid = valid && isNamePart(c);
    if (valid) return stem;
    static const char kHex[] = "0123456789abcdef";
    std::string name = "vexlpage_";
    for (char c : text) {
        if (isNamePart(c) && c != '_') {
            name += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        name += '_';
        name += kHex[byte >> 4];
        name += kHex[byte & 15];
    }
    return NyxString(name.c_str());
}
