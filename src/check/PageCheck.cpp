// PageCheck: one pass over the parsed list, in the walker's terms: tag ids
// from the parser's table, expressions and statements through the Quince
// compiler, include paths built as INCLUDE builds them.
#include "check/PageCheck.h"

#include <algorithm>
#include <cctype>

#include "check/TagRules.h"
#include "foundation/Files.h"
#include "quince/QuinceContext.h"
#include "quince/SourceCheck.h"
#include "values/HtmlObject.h"
#include "values/HtmlObjectList.h"
#include "values/HtmlTagIds.h"
#include "values/HtmlTagParam.h"

namespace {

using Severity = CheckMessage::Severity;

std::string Lower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

bool IsExpressionValue(std::string_view value) { return value.size() >= 2 && value.front() == '(' && value.back() == ')'; }

// A request variable's name without its type mark: "n.i" is "n".
std::string WithoutTypeMark(std::string_view name) {
    if (name.size() > 2 && name[name.size() - 2] == '.' && std::string_view("bcdfisBCDFIS").find(name.back()) != std::string_view::npos)
        name.remove_suffix(2);
    return std::string(name);
}

// The names of "a=1&b.i=2" in the query of a link or form action.
void AddQueryNames(std::string_view url, std::set<std::string>& names) {
    const std::size_t question = url.find('?');
    if (question == std::string_view::npos) return;
    std::string_view query = url.substr(question + 1);
    while (!query.empty()) {
        const std::size_t amp = query.find('&');
        const std::string_view pair = query.substr(0, amp);
        const std::string_view name = pair.substr(0, pair.find('='));
        if (!name.empty() && name != "_htmlfile") names.insert(WithoutTypeMark(name));
        if (amp == std::string_view::npos) break;
        query.remove_prefix(amp + 1);
    }
}

void AddWords(std::string_view text, std::set<std::string>& names) {
    std::size_t at = 0;
    while (at < text.size()) {
        while (at < text.size() && IsBlank(text[at])) ++at;
        const std::size_t start = at;
        while (at < text.size() && !IsBlank(text[at])) ++at;
        if (at > start) names.insert(std::string(text.substr(start, at - start)));
    }
}

bool IsCutExpression(const HtmlTagParam& param) {
    const std::string_view value = param.GetValue().View();
    return param.GetQuote() == 0 && !value.empty() && value.front() == '(' && value.back() != ')';
}

std::string TagName(const HtmlObject& tag) {
    const OwnTagRules* rules = FindOwnTagRules(tag.GetTagId());
    std::string name = rules != nullptr ? std::string(rules->Name) : std::string(tag.GetTagLabel().View());
    return tag.IsEndTag() ? "</" + name + ">" : "<" + name + ">";
}

std::string OwnName(int tagId) {
    const OwnTagRules* rules = FindOwnTagRules(tagId);
    return rules != nullptr ? std::string(rules->Name) : std::string();
}

}  // namespace

std::string FormatCheckMessage(const CheckMessage& message) {
    return message.File + ":" + std::to_string(message.Line) + ":" + std::to_string(message.Column) + ": " +
           (message.Level == Severity::Error ? "error: " : "warning: ") + message.Text;
}

PageCheck::PageCheck(std::string path) : Path(std::move(path)) {}

PageCheck::~PageCheck() = default;

bool PageCheck::Run() {
    std::string text;
    const bool regular = (FileGetMode(NyxString(std::string_view(Path))) & 0x8000u) != 0;
    if (!regular || !FileReadAll(NyxString(std::string_view(Path)), text)) {
        Report(1, 1, Severity::Error, "cannot read the file");
        return false;
    }
    Run(std::move(text));
    return true;
}

void PageCheck::Run(std::string text) {
    Source = std::move(text);
    LineStarts.push_back(0);
    for (std::size_t i = 0; i < Source.size(); ++i) {
        if (Source[i] == '\n') LineStarts.push_back(i + 1);
    }
    List = std::make_unique<HtmlObjectList>(NyxString(std::string_view(Path)), Source);
    Context = std::make_unique<QuinceContext>(nullptr);
    const int count = static_cast<int>(List->GetCount());
    for (int index = 0; index < count; ++index) CheckObject(index);
    for (const OpenBlock& block : Open) {
        const std::string name = OwnName(block.TagId);
        const std::string end = block.TagId == TagId::Loop ? "</LOOP>" : "ENDIF";
        Report(block.Line, block.Column, Severity::Error,
               name + " begun on line " + std::to_string(block.Line) + " has no " + end +
                   (block.TagId == TagId::Loop ? "" : "; the rest of the file belongs to it"));
    }
}

void PageCheck::CheckObject(int index) {
    const HtmlObject& object = *List->GetEntry(index);
    const int id = object.GetTagId();
    if (id == TagId::Text) return;
    if (id == TagId::Script && object.IsStartTag()) {
        CheckScript(index);
        CheckParameterExpressions(object);
        return;
    }
    if (id == TagId::Unknown) {
        CheckUnknownTag(object);
        return;
    }
    if (id >= TagId::FirstOwnTag) {
        CheckBlocks(object);
        if (!object.IsEndTag()) CheckOwnTag(object);
        return;
    }
    if (object.IsEndTag()) return;
    NoteRequestNames(object);
    CheckParameterExpressions(object);
}

void PageCheck::CheckUnknownTag(const HtmlObject& tag) {
    const std::string label(tag.GetTagLabel().View());
    const std::string suggestion = SuggestOwnTag(label);
    if (suggestion.empty()) return;  // a tag of the page's own, or one the browser knows
    // "/LOOP" is meant as an end tag whatever was written.
    const std::string meant = (tag.IsEndTag() && suggestion[0] != '/' ? "</" : "<") + suggestion + ">";
    CheckMessage message{Path, tag.GetLineNum(), ColumnOf(tag), Severity::Error,
                         "unknown tag " + std::string(tag.IsEndTag() ? "</" : "<") + label +
                             ">, which goes to the browser as it is; did you mean " + meant + "?"};
    Facts.SuspectTags.push_back({Lower(label), std::move(message)});
}

void PageCheck::CheckBlocks(const HtmlObject& tag) {
    const int id = tag.GetTagId();
    const unsigned line = tag.GetLineNum();
    const unsigned column = ColumnOf(tag);
    auto innermostIf = [this]() -> OpenBlock* {
        for (auto it = Open.rbegin(); it != Open.rend(); ++it) {
            if (it->TagId == TagId::If) return &*it;
        }
        return nullptr;
    };
    // Blocks opened inside the construct being closed, and not closed there.
    auto closeInnerLoops = [this](int closingId, const std::string& closer) {
        while (!Open.empty() && Open.back().TagId != closingId) {
            const OpenBlock inner = Open.back();
            Open.pop_back();
            Report(inner.Line, inner.Column, Severity::Error,
                   OwnName(inner.TagId) + " begun on line " + std::to_string(inner.Line) + " has no " +
                       (inner.TagId == TagId::Loop ? "</LOOP>" : "ENDIF") + " before the " + closer);
        }
    };
    if (id == TagId::Loop) {
        if (!tag.IsEndTag()) {
            Open.push_back({id, line, column, false});
            return;
        }
        if (std::none_of(Open.begin(), Open.end(), [](const OpenBlock& b) { return b.TagId == TagId::Loop; })) {
            Report(line, column, Severity::Error, "</LOOP> without LOOP");
            return;
        }
        closeInnerLoops(TagId::Loop, "</LOOP> on line " + std::to_string(line));
        Open.pop_back();
        return;
    }
    if (tag.IsEndTag()) return;
    if (id == TagId::If) {
        Open.push_back({id, line, column, false});
        return;
    }
    if (id != TagId::Else && id != TagId::ElseIf && id != TagId::EndIf) return;
    OpenBlock* construct = innermostIf();
    if (construct == nullptr) {
        Report(line, column, Severity::Error, OwnName(id) + " without IF");
        return;
    }
    closeInnerLoops(TagId::If, OwnName(id) + " on line " + std::to_string(line));
    construct = &Open.back();
    if (id == TagId::EndIf) {
        Open.pop_back();
        return;
    }
    if (construct->HasElse) {
        Report(line, column, Severity::Error,
               OwnName(id) + " after the ELSE of the IF begun on line " + std::to_string(construct->Line) +
                   "; it is never reached");
    }
    if (id == TagId::Else) construct->HasElse = true;
}

void PageCheck::CheckOwnTag(const HtmlObject& tag) {
    const OwnTagRules* rules = FindOwnTagRules(tag.GetTagId());
    if (rules == nullptr) return;
    const int count = tag.GetCount();
    for (int i = 1; i <= count; ++i) {
        const HtmlTagParam& param = *tag.GetEntry(i);
        // Behind an expression cut at a blank come its pieces, reported with it.
        if (IsCutExpression(param)) break;
        const std::string name = Lower(param.GetName().View());
        if (std::find(rules->Parameters.begin(), rules->Parameters.end(), name) != rules->Parameters.end()) continue;
        unsigned line = 0, column = 0;
        LocateParameter(tag, param, line, column);
        const std::string suggestion = SuggestParameter(*rules, name);
        std::string text = "unknown parameter '" + std::string(param.GetName().View()) + "' of " + TagName(tag);
        if (!suggestion.empty()) {
            text += ", which ignores it; did you mean '" + suggestion + "'?";
        } else if (rules->Parameters.empty()) {
            text += ", which takes none";
        } else {
            text += ", which takes";
            for (std::size_t p = 0; p < rules->Parameters.size(); ++p)
                text += std::string(p == 0 ? " " : ", ") + "'" + std::string(rules->Parameters[p]) + "'";
        }
        Report(line, column, Severity::Error, text);
    }
    for (const auto& group : rules->Required) {
        const bool present = std::any_of(group.begin(), group.end(), [&](std::string_view name) {
            return tag.FindEntry(std::string(name).c_str()) != 0;
        });
        if (present) continue;
        std::string names = "'" + std::string(group[0]) + "'";
        for (std::size_t g = 1; g < group.size(); ++g) names += " or '" + std::string(group[g]) + "'";
        ReportAt(tag, Severity::Error, TagName(tag) + " without " + names);
    }

    switch (tag.GetTagId()) {
        case TagId::SetVar: {
            if (const int at = tag.FindEntry("name")) {
                const HtmlTagParam& name = *tag.GetEntry(at);
                if (IsExpressionValue(name.GetValue().View())) {
                    Facts.SetsComputedNames = true;
                    CheckExpression(tag, name, true);
                } else {
                    Facts.NamesSet.insert(std::string(name.GetValue().View()));
                }
            }
            if (const int at = tag.FindEntry("value")) CheckExpression(tag, *tag.GetEntry(at), true);
            break;
        }
        case TagId::SetHeader:
            if (const int at = tag.FindEntry("value")) CheckExpression(tag, *tag.GetEntry(at), false);
            break;
        case TagId::If:
        case TagId::ElseIf:
            if (const int at = tag.FindEntry("condition")) CheckExpression(tag, *tag.GetEntry(at), true);
            break;
        case TagId::Loop:
            if (const int at = tag.FindEntry("initialiser")) CheckStatements(tag, *tag.GetEntry(at));
            if (const int at = tag.FindEntry("iterator")) CheckStatements(tag, *tag.GetEntry(at));
            if (const int at = tag.FindEntry("condition")) CheckExpression(tag, *tag.GetEntry(at), true);
            break;
        case TagId::Include:
            if (const int at = tag.FindEntry("condition")) CheckExpression(tag, *tag.GetEntry(at), true);
            CheckInclude(tag);
            break;
        case TagId::DefTag:
            if (const int at = tag.FindEntry("name")) Facts.UserTags.insert(Lower(tag.GetEntry(at)->GetValue().View()));
            // Its procedure's output is walked: it may hold SETVAR tags of any name.
            if (tag.GetIntValue("parseoutput") != 0) Facts.SetsComputedNames = true;
            break;
        case TagId::Translation:
            for (int i = 1; i <= count; ++i) CheckExpression(tag, *tag.GetEntry(i), false);
            break;
        default:
            break;
    }
}

void PageCheck::CheckInclude(const HtmlObject& tag) {
    int at = tag.FindEntry("file");
    if (at == 0) at = tag.FindEntry("htmlfile");
    if (at == 0) at = tag.FindEntry("_htmlfile");
    if (at == 0) return;
    const HtmlTagParam& file = *tag.GetEntry(at);
    const std::string value(file.GetValue().View());
    if (!value.empty() && value[0] == '(') {
        CheckExpression(tag, file, true);
        return;
    }
    const bool absolute = (!value.empty() && value[0] == '\\') ||
                          (value.size() >= 3 && value[1] == ':' && (value[2] == '\\' || value[2] == '/'));
    const std::string path = absolute ? value : ResolveBeside(value);
    const unsigned mode = FileGetMode(NyxString(std::string_view(path)));
    unsigned line = 0, column = 0;
    LocateParameter(tag, file, line, column);
    if (mode == 0) {
        Report(line, column, Severity::Error, "INCLUDE cannot find file '" + path + "'");
    } else if ((mode & 0x8000u) == 0) {
        Report(line, column, Severity::Error, "INCLUDE path '" + path + "' is not a regular file");
    } else {
        Facts.Includes.push_back(path);
    }
}

void PageCheck::CheckScript(int index) {
    const HtmlObject& tag = *List->GetEntry(index);
    int languageAt = tag.FindEntry("language");
    if (languageAt == 0) languageAt = tag.FindEntry("lang");
    if (languageAt == 0) languageAt = tag.FindEntry("type");
    // What the script prints is walked as a page: it may set any name.
    if (tag.GetIntValue("parseoutput") != 0) Facts.SetsComputedNames = true;
    if (languageAt != 0 && !tag.GetEntry(languageAt)->GetValue().IsEqualTo("quince", false)) return;
    if (const int srcAt = tag.FindEntry("src")) {
        const HtmlTagParam& src = *tag.GetEntry(srcAt);
        const std::string value(src.GetValue().View());
        const std::string path = !value.empty() && value[0] == '/' ? value : ResolveBeside(value);
        unsigned line = 0, column = 0;
        LocateParameter(tag, src, line, column);
        std::string contents;
        // Only a regular file: a page naming a device or a pipe must not hang the check.
        const bool regular = (FileGetMode(NyxString(std::string_view(path))) & 0x8000u) != 0;
        if (!regular || !FileReadAll(NyxString(std::string_view(path)), contents)) {
            Report(line, column, Severity::Error, "SCRIPT cannot find file '" + path + "'");
            return;
        }
        if (contents.compare(0, 3, "\xEF\xBB\xBF") == 0) contents.erase(0, 3);
        const QuinceSourceReport report = CheckQuinceScript(*Context, contents, NyxString(std::string_view(path)), 1);
        if (!report.Compiled) {
            Messages.push_back({path, report.ErrorLine, 1, Severity::Error, std::string(report.Error.View())});
        }
        for (const NyxString& name : report.Names) Facts.NamesSet.insert(std::string(name.View()));
        for (const NyxString& name : report.SessionNames) Facts.SiteNames.insert(std::string(name.View()));
        return;
    }
    const HtmlObject* body = List->GetEntry(index + 1);
    if (body == nullptr || body->GetTagId() != TagId::Text) return;
    CheckScriptText(std::string(body->GetText().View()), Path, body->GetLineNum(), ColumnOf(*body));
}

void PageCheck::CheckScriptText(const std::string& text, const std::string& file, unsigned line, unsigned column) {
    const QuinceSourceReport report = CheckQuinceScript(*Context, text, NyxString(std::string_view(file)), line);
    if (!report.Compiled) {
        Report(report.ErrorLine, report.ErrorLine == line ? column : 1, Severity::Error,
               std::string(report.Error.View()));
    }
    for (const NyxString& name : report.Names) Facts.NamesSet.insert(std::string(name.View()));
    for (const NyxString& name : report.SessionNames) Facts.SiteNames.insert(std::string(name.View()));
}

void PageCheck::CheckStatements(const HtmlObject& tag, const HtmlTagParam& param) {
    unsigned line = 0, column = 0;
    LocateParameter(tag, param, line, column);
    // The statements are compiled with the tag's line, as the loop compiles them.
    CheckScriptText(std::string(param.GetValue().View()), Path, tag.GetLineNum(), column);
}

void PageCheck::CheckExpression(const HtmlObject& tag, const HtmlTagParam& param, bool alwaysExpression) {
    const std::string_view value = param.GetValue().View();
    unsigned line = 0, column = 0;
    LocateParameter(tag, param, line, column);
    if (IsCutExpression(param)) {
        // An unquoted value ends at the first blank: the rest became parameters of their own.
        Report(line, column, Severity::Error,
               "the value of '" + std::string(param.GetName().View()) +
                   "' ends at the first blank, so the expression is cut short; put it in quotes: " +
                   std::string(param.GetName().View()) + "=\"(...)\"");
        return;
    }
    if (!alwaysExpression && !IsExpressionValue(value)) return;
    const QuinceSourceReport report = CheckQuinceExpression(*Context, value);
    if (!report.Compiled) {
        const unsigned errorLine = report.ErrorLine > 0 ? line + report.ErrorLine - 1 : line;
        Report(errorLine, errorLine == line ? column : 1, Severity::Error,
               "in '" + std::string(param.GetName().View()) + "': " + std::string(report.Error.View()));
        return;
    }
    for (const NyxString& name : report.Names) Facts.NamesRead.push_back({std::string(name.View()), line, column});
}

void PageCheck::CheckParameterExpressions(const HtmlObject& tag) {
    const int count = tag.GetCount();
    for (int i = 1; i <= count; ++i) CheckExpression(tag, *tag.GetEntry(i), false);
}

// Names that reach other pages through the request: form fields, variables
// of links and query strings.
void PageCheck::NoteRequestNames(const HtmlObject& tag) {
    const int id = tag.GetTagId();
    const std::string label = Lower(tag.GetTagLabel().View());
    if (label == "input" || label == "select" || label == "textarea" || label == "button") {
        const std::string_view name = tag.GetValueInPlace("name").View();
        if (!name.empty() && !IsExpressionValue(name)) {
            const std::string field = WithoutTypeMark(name);
            Facts.SiteNames.insert(field);
            if (Lower(tag.GetValueInPlace("type").View()) == "file") {
                for (const char* suffix : {"_file", "_size", "_type"}) Facts.SiteNames.insert(field + suffix);
            }
        }
    }
    if (id == TagId::A) {
        if (const int at = tag.FindEntry("vars")) {
            std::set<std::string> names;
            AddWords(tag.GetEntry(at)->GetValue().View(), names);
            unsigned line = 0, column = 0;
            LocateParameter(tag, *tag.GetEntry(at), line, column);
            for (const std::string& name : names) {
                Facts.SiteNames.insert(name);
                Facts.NamesRead.push_back({name, line, column});
            }
        }
    }
    for (const char* url : {"href", "action", "src"}) AddQueryNames(tag.GetValueInPlace(url).View(), Facts.SiteNames);
}

void PageCheck::Report(unsigned line, unsigned column, Severity level, std::string text) {
    Messages.push_back({Path, line, column, level, std::move(text)});
}

void PageCheck::ReportAt(const HtmlObject& tag, Severity level, std::string text) {
    Report(tag.GetLineNum(), ColumnOf(tag), level, std::move(text));
}

void PageCheck::LocateOffset(std::size_t offset, unsigned& line, unsigned& column) const {
    const auto after = std::upper_bound(LineStarts.begin(), LineStarts.end(), offset);
    const std::size_t index = static_cast<std::size_t>(after - LineStarts.begin()) - 1;
    line = static_cast<unsigned>(index + 1);
    column = static_cast<unsigned>(offset - LineStarts[index] + 1);
}

unsigned PageCheck::ColumnOf(const HtmlObject& object) const {
    unsigned line = 0, column = 0;
    LocateOffset(object.GetSourceOffset(), line, column);
    return column;
}

void PageCheck::LocateParameter(const HtmlObject& tag, const HtmlTagParam& param, unsigned& line,
                                unsigned& column) const {
    const std::size_t start = tag.GetSourceOffset();
    const std::size_t end = std::min(Source.size(), start + tag.GetSourceSize());
    const std::string name = Lower(param.GetName().View());
    for (std::size_t at = start + 1; !name.empty() && at + name.size() <= end; ++at) {
        if (!IsBlank(Source[at - 1])) continue;
        if (Lower(std::string_view(Source).substr(at, name.size())) != name) continue;
        const char next = at + name.size() < end ? Source[at + name.size()] : '>';
        if (IsBlank(next) || next == '=' || next == '>' || next == '/') {
            LocateOffset(at, line, column);
            return;
        }
    }
    LocateOffset(start, line, column);
}

std::string PageCheck::ResolveBeside(const std::string& relative) const {
    const std::size_t slash = Path.find_last_of('/');
    if (slash == std::string::npos) return relative;
    return Path.substr(0, slash + 1) + relative;
}
