// HtmlParser: the tokenizer that turns page text into HtmlObjects. It never
// fails and never changes a byte: every byte of the source lies in exactly one
// object's source span, and text objects hold their bytes unchanged.
#pragma once

#include <cstddef>
#include <string_view>

class HtmlObject;
class HtmlObjectArena;
class HtmlObjectList;

class HtmlParser {
public:
    // With an arena, objects and their parameters are made in it, and their
    // owner destroys them with HtmlObjectArena::Destroy; without one they are
    // made with new.
    explicit HtmlParser(std::string_view text, HtmlObjectArena* arena = nullptr);

    // Objects are kept under this size; a longer text becomes several text
    // objects, a longer tag stays text.
    static constexpr std::size_t kMaxObjectSize = 0x7FFFFFFF;

    // Parses the whole text, handing each new object (in document order) to
    // `sink`, which takes it over.
    template <class Sink>
    void Parse(Sink&& sink) {
        ParseWith([](void* context, HtmlObject* object) { (*static_cast<Sink*>(context))(object); }, &sink);
    }

    // Parses the whole text, appending each object to `list`.
    void ParseInto(HtmlObjectList& list);

private:
    using SinkFunction = void (*)(void* context, HtmlObject* object);
    void ParseWith(SinkFunction sink, void* context);

    std::string_view Source;
    HtmlObjectArena* Arena;
};
