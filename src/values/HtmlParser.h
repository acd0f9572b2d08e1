// HtmlParser: the tokenizer that turns page text into a list's records, and
// reads one tag of that text again when its object or its output is asked
// for. It never fails and never changes a byte: every byte of the source lies
// in exactly one object's source span, and text objects hold their bytes
// unchanged.
#pragma once

#include <cstddef>
#include <string_view>

class HtmlObject;
class HtmlObjectArena;
class HtmlObjectList;
class NyxString;

class HtmlParser {
public:
    explicit HtmlParser(std::string_view text);

    // Objects are kept under this size; a longer text becomes several text
    // objects, a longer tag stays text.
    static constexpr std::size_t kMaxObjectSize = 0x7FFFFFFF;

    // Parses the whole text, appending a record per object to `list`, with
    // the line of each record that begins a segment of the list.
    void ParseInto(HtmlObjectList& list);

    // Reads the tag at `at` of `text`, as the parse found it there, into
    // `object`: label, id, end flag, parameters (made in `arena` when there
    // is one), closing form. False if no tag ends there.
    static bool ReadTag(std::string_view text, std::size_t at, bool isEnd, HtmlObject& object, HtmlObjectArena* arena);
    // Appends the tag at `at` as HtmlObject::AppendOutputTo writes its
    // object, without making the object.
    static void AppendTagOutput(std::string_view text, std::size_t at, bool isEnd, NyxString& out);

    // The number of LF bytes in [data, data + size).
    static std::size_t CountLineFeeds(const char* data, std::size_t size);

private:
    std::string_view Source;
};
