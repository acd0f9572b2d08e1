// libFuzzer target for the page tokenizer. Parses the input from memory and
// aborts unless the objects re-form it byte for byte: source spans tile the
// input in order, text objects hold exactly their bytes, tag spans run from
// '<' to '>', end flags are 0 or 1, and line numbers count the LF bytes
// before each object. Also renders and deep-copies every object.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "foundation/NodeList.h"
#include "values/HtmlObjectList.h"
#include "values/HtmlTagIds.h"

namespace {

[[noreturn]] void Fail(const char* what, unsigned index) {
    std::fprintf(stderr, "invariant broken at object %u: %s\n", index, what);
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::string_view source(reinterpret_cast<const char*>(data), size);
    HtmlObjectList list(NyxString("fuzz.html"), source);

    std::size_t offset = 0;
    std::size_t lineCountedTo = 0;
    unsigned line = 1;
    for (unsigned i = 0; i < list.GetCount(); ++i) {
        const HtmlObject* object = list.GetEntry(static_cast<int>(i));
        if (object == nullptr) Fail("null object", i);
        if (object->GetSourceOffset() != offset) Fail("span does not follow the previous one", i);
        const std::size_t spanSize = object->GetSourceSize();
        if (spanSize > size - offset) Fail("span runs past the end", i);
        const std::string_view span = source.substr(offset, spanSize);
        for (; lineCountedTo < offset; ++lineCountedTo) line += source[lineCountedTo] == '\n';
        if (object->GetLineNum() != line) Fail("wrong line number", i);
        if (object->GetTagId() == TagId::Text) {
            if (object->GetText().View() != span) Fail("text differs from its source", i);
            if (object->Output().View() != span) Fail("Output() of a text differs from its source", i);
        } else {
            if (spanSize < 3 || span.front() != '<' || span.back() != '>') Fail("tag span is not <...>", i);
            if (object->IsEndTag() != 0 && object->IsEndTag() != 1) Fail("end flag not 0 or 1", i);
            if (object->GetTagLabel().IsEmpty()) Fail("tag without label", i);
            NyxString rendered;
            object->AppendOutputTo(rendered);
            if (rendered.View() != object->Output().View()) Fail("AppendOutputTo differs from Output", i);
            HtmlObject copy(*object);
            while (copy.GetCount() > 0) copy.DeleteEntry(1);
            if (object->Output().View() != rendered.View()) Fail("deleting from a copy changed the source", i);
            if (object->GetCount() > 0) {
                const std::string name = object->GetEntry(1)->GetName().ToStd();
                std::unique_ptr<NodeList> items(GetTagParamValues(const_cast<HtmlObject*>(object), name.c_str()));
                for (unsigned item = 1; item <= items->GetCount(); ++item) {
                    if (items->GetEntry(item) == nullptr) Fail("null item", i);
                }
            }
        }
        offset += spanSize;
    }
    if (offset != size) Fail("spans do not reach the end", list.GetCount());
    return 0;
}
