// HtmlParser: the tokenizer that turns page text into HtmlObjects. It never
// fails and never changes a byte: every byte of the source lies in exactly one
// object's source span, and text objects hold their bytes unchanged.
#pragma once

#include <string_view>

class HtmlObject;

class HtmlParser {
public:
    explicit HtmlParser(std::string_view text);

    // Parses the whole text, handing each new object (in document order) to
    // `sink`, which takes it over.
    template <class Sink>
    void Parse(Sink&& sink) {
        ParseWith([](void* context, HtmlObject* object) { (*static_cast<Sink*>(context))(object); }, &sink);
    }

private:
    using SinkFunction = void (*)(void* context, HtmlObject* object);
    void ParseWith(SinkFunction sink, void* context);

    std::string_view Source;
};
