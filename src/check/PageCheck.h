// PageCheck: reads one page file without running it and finds what would go
// wrong: misspelt tags and parameters, blocks that do not close, Quince that
// does not compile, files that are not there. It also notes which variables
// the page sets and reads, for SiteCheck to judge across pages.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "check/CheckMessage.h"

class HtmlObject;
class HtmlObjectList;
class QuinceContext;
class HtmlTagParam;

// What a page tells about variables and the files around it.
struct PageFacts {
    struct NameRead {
        std::string Name;
        unsigned Line = 0;
        unsigned Column = 0;
    };
    // Tags whose label no table knows but is close to an own tag; SiteCheck
    // reports them unless DEFTAG defines the label somewhere.
    struct SuspectTag {
        std::string Label;  // lower case
        CheckMessage Message;
    };
    std::vector<std::string> Includes;  // files it includes by literal path (complete paths)
    std::set<std::string> NamesSet;     // variables this page may set
    std::set<std::string> SiteNames;    // variables it hands to every page: sessions, form fields, link variables
    std::vector<NameRead> NamesRead;    // variables its expressions read
    bool SetsComputedNames = false;     // a SETVAR whose name is an expression, output walked as a page
    std::set<std::string> UserTags;     // DEFTAG names, lower case
    std::vector<SuspectTag> SuspectTags;
};

class PageCheck {
public:
    // `path` as it should appear in messages.
    explicit PageCheck(std::string path);
    ~PageCheck();
    PageCheck(const PageCheck&) = delete;
    PageCheck& operator=(const PageCheck&) = delete;

    // Reads and checks the page; false when the file cannot be read (a
    // message says so).
    bool Run();
    // Checks `text` as the page's contents (files it names are still looked
    // for beside the path).
    void Run(std::string text);

    const std::vector<CheckMessage>& GetMessages() const { return Messages; }
    const PageFacts& GetFacts() const { return Facts; }

private:
    struct OpenBlock {
        int TagId;
        unsigned Line;
        unsigned Column;
        bool HasElse;
    };

    void CheckObject(int index);
    void CheckOwnTag(const HtmlObject& tag);
    void CheckBlocks(const HtmlObject& tag);
    void CheckUnknownTag(const HtmlObject& tag);
    void CheckScript(int index);
    void CheckInclude(const HtmlObject& tag);
    void NoteRequestNames(const HtmlObject& tag);
    void CheckParameterExpressions(const HtmlObject& tag);
    void CheckExpression(const HtmlObject& tag, const HtmlTagParam& param, bool alwaysExpression);
    void CheckStatements(const HtmlObject& tag, const HtmlTagParam& param);
    void CheckScriptText(const std::string& text, const std::string& file, unsigned line, unsigned column);

    void Report(unsigned line, unsigned column, CheckMessage::Severity level, std::string text);
    void ReportAt(const HtmlObject& tag, CheckMessage::Severity level, std::string text);
    unsigned ColumnOf(const HtmlObject& object) const;
    // Line and column where a parameter's name stands in the tag's source.
    void LocateParameter(const HtmlObject& tag, const HtmlTagParam& param, unsigned& line, unsigned& column) const;
    void LocateOffset(std::size_t offset, unsigned& line, unsigned& column) const;
    std::string ResolveBeside(const std::string& relative) const;

    std::string Path;
    std::string Source;
    std::vector<std::size_t> LineStarts;  // byte offset of each line's first byte
    std::unique_ptr<HtmlObjectList> List;
    std::unique_ptr<QuinceContext> Context;
    std::vector<OpenBlock> Open;
    std::vector<CheckMessage> Messages;
    PageFacts Facts;
};
