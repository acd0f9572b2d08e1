// HtmlObject: one object of a parsed page: a stretch of text (tag id 0) or one
// tag, start or end. A tag object is its own parameter list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "values/HtmlTagParamList.h"
#include "values/NyxString.h"

class HtmlObject : public HtmlTagParamList {
public:
    // How a start tag closed: "<br>", "<br/>" or "<br />"; Output() repeats it.
    enum class Closing : uint8_t { Plain = 0, Slash = 1, BlankSlash = 2 };

    // An empty object: no parameters, tag id 0. The argument is the line number.
    explicit HtmlObject(unsigned int lineNum = 0) : LineNum(lineNum) {}
    HtmlObject(const HtmlObject& other);             // deep: the copy owns copies of the parameters
    HtmlObject& operator=(const HtmlObject& other);  // deep
    ~HtmlObject() override;

    int GetTagId() const { return TagIdValue; }
    int IsEndTag() const { return EndFlag; }      // exactly 0 or 1
    int IsStartTag() const { return StartFlag; }  // 1 on a start tag, else 0
    // Sets the tag id and the end flag (any non-zero endFlag is stored as 1).
    void SetTagId(int id, int endFlag);

    unsigned GetLineNum() const { return LineNum; }
    void SetLineNum(unsigned lineNum) { LineNum = lineNum; }

    // An object holds either a label (a tag) or a text (a text object); setting
    // one empties the other.
    // The label as written, without angle brackets and without the slash of
    // an end tag; empty on a text object.
    const NyxString& GetTagLabel() const { return ContentIsLabel ? Content : EmptyString(); }
    void SetTagLabel(std::string_view label);
    // The text of a text object, exactly as in the source; empty on a tag.
    const NyxString& GetText() const { return ContentIsLabel ? EmptyString() : Content; }
    void SetText(std::string_view text);  // every byte, NUL bytes included

    Closing GetClosing() const { return ClosingForm; }
    void SetClosing(Closing closing) { ClosingForm = closing; }

    // Where the object stood in the parsed source: byte offset and byte count.
    // Objects not made by the parser have 0, 0; a copy keeps its source's.
    // Kept in 32 bits each: page files stop at 1 GiB; offsets in a text
    // parsed from memory past 4 GiB wrap around.
    std::size_t GetSourceOffset() const { return SourceOffset; }
    std::size_t GetSourceSize() const { return SourceSize; }
    void SetSourceSpan(std::size_t offset, std::size_t size) {
        SourceOffset = static_cast<uint32_t>(offset);
        SourceSize = static_cast<uint32_t>(size);
    }

    // A text object: its text unchanged. A start tag: "<" label, each parameter
    // as HtmlTagParam::Output renders it, the closing slash if the source had
    // one, ">". An end tag: "</" label ">". No line end is added.
    NyxString Output() const;
    // The same text, appended to `out` without a temporary.
    void AppendOutputTo(NyxString& out) const;
    // The same, with the values of some parameters replaced: where
    // replacements[i - 1] is set, parameter i comes out as name="replacement",
    // as a copy holding that value would. `count` is the size of the array.
    // With `replacedAt` (of `count` places), the size of `out` just before
    // each replacement's text is kept in the place of its parameter.
    void AppendOutputTo(NyxString& out, const NyxString* const* replacements, unsigned count,
                        unsigned* replacedAt = nullptr) const;

private:
    friend class HtmlObjectArena;
    friend class HtmlObjectList;

    static const NyxString& EmptyString();

    int TagIdValue = 0;
    unsigned LineNum = 0;
    uint32_t SourceSize = 0;  // the parser keeps every object under 2 GiB
    uint32_t SourceOffset = 0;
    uint8_t StartFlag = 0;
    uint8_t EndFlag = 0;      // exactly 0 or 1: walkers compare it for equality
    Closing ClosingForm = Closing::Plain;
    bool ContentIsLabel = false;
    bool InArena = false;     // set only by HtmlObjectArena::Make; never copied
    NyxString Content;        // the label of a tag, the text of a text object
};
