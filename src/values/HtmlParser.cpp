// HtmlParser: the page tokenizer. Text is skipped in runs with memchr; bytes
// inside tags go through one table of byte classes. Every loop moves forward
// through the input, so a parse ends after at most a few passes over it.
// A tag is read by one scanner that hands what it finds to a receiver: the
// parse keeps only its shape in a record, and the object, or its output, is
// made from the same bytes by the same scanner when someone asks.
#include "values/HtmlParser.h"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "values/HtmlObject.h"
#include "values/HtmlObjectArena.h"
#include "values/HtmlObjectList.h"
#include "values/HtmlRecord.h"
#include "values/HtmlTagIds.h"
#include "values/HtmlTagParam.h"

namespace {

// Byte classes used inside tags.
enum : uint8_t {
    kBlank = 1,         // space, tab, LF, CR, FF
    kEndsLabel = 2,     // blank, '/', '>'
    kEndsName = 4,      // blank, '/', '>', '='
    kEndsUnquoted = 8,  // blank, '>'
};

struct ByteClassTable {
    uint8_t Of[256] = {};
    constexpr ByteClassTable() {
        for (unsigned char c : {' ', '\t', '\n', '\r', '\f'}) Of[c] = kBlank | kEndsLabel | kEndsName | kEndsUnquoted;
        Of[static_cast<unsigned char>('/')] = kEndsLabel | kEndsName;
        Of[static_cast<unsigned char>('>')] = kEndsLabel | kEndsName | kEndsUnquoted;
        Of[static_cast<unsigned char>('=')] = kEndsName;
    }
};
constexpr ByteClassTable kByteClasses;

constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);
constexpr std::size_t kShortSpan = 32;  // below this, counting line feeds a byte at a time is cheaper than a call

bool IsAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

}  // namespace

// Sixteen bytes at a time where SSE2 is there (every x86-64), else eight.
std::size_t HtmlParser::CountLineFeeds(const char* data, std::size_t size) {
    std::size_t count = 0;
#if defined(__SSE2__)
    const __m128i lineFeed = _mm_set1_epi8('\n');
    const __m128i zero = _mm_setzero_si128();
    while (size >= 16) {
        // Per-byte counters in `sums` (each match subtracts -1) can take 255
        // rounds before they are folded into `count`.
        __m128i sums = zero;
        std::size_t rounds = size / 16 < 255 ? size / 16 : 255;
        size -= rounds * 16;
        while (rounds-- > 0) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data));
            sums = _mm_sub_epi8(sums, _mm_cmpeq_epi8(bytes, lineFeed));
            data += 16;
        }
        const __m128i total = _mm_sad_epu8(sums, zero);
        count += static_cast<std::size_t>(_mm_cvtsi128_si64(total)) +
                 static_cast<std::size_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(total, total)));
    }
#else
    constexpr uint64_t kLow7 = 0x7f7f7f7f7f7f7f7fULL;
    constexpr uint64_t kLineFeeds = 0x0a0a0a0a0a0a0a0aULL;
    constexpr uint64_t kHigh = 0x8080808080808080ULL;
    constexpr uint64_t kOnes = 0x0101010101010101ULL;
    while (size >= 8) {
        uint64_t word;
        std::memcpy(&word, data, 8);
        const uint64_t x = word ^ kLineFeeds;                        // zero bytes where LF was
        const uint64_t zeroBytes = ~(((x & kLow7) + kLow7) | x) & kHigh;  // 0x80 in each zero byte
        count += ((zeroBytes >> 7) * kOnes) >> 56;
        data += 8;
        size -= 8;
    }
#endif
    for (std::size_t i = 0; i < size; ++i) count += data[i] == '\n';
    return count;
}

namespace {

// Receivers of what the scanner reads from a tag, in source order: the
// label, each parameter, then the closing form if the tag has a slash.

// Keeps what a record holds.
struct ShapeReceiver {
    void Label(std::string_view label) {
        LabelSize = label.size();
        Id = LookupTagId(label);
    }
    void Param(std::string_view, std::string_view value, char, HtmlTagParam::ValueForm) {
        Bits |= HtmlRecord::kHasParams;
        if (HtmlTagParam::IsExpressionForm(value)) Bits |= HtmlRecord::kHasExpression;
    }
    void Close(HtmlObject::Closing closing) {
        Bits = static_cast<uint8_t>((Bits & ~HtmlRecord::kClosingMask) |
                                    (static_cast<unsigned>(closing) << HtmlRecord::kClosingShift));
    }

    std::size_t LabelSize = 0;
    int Id = 0;
    uint8_t Bits = 0;
};

// Fills an object; its parameters go in `Arena` when there is one.
struct ObjectReceiver {
    void Label(std::string_view label) {
        Object.SetTagLabel(label);
        Object.SetTagId(LookupTagId(label), IsEnd ? 1 : 0);
    }
    void Param(std::string_view name, std::string_view value, char quote, HtmlTagParam::ValueForm form) {
        const auto quoteCharacter = static_cast<wchar_t>(quote);
        if (Arena == nullptr) {
            Object.AddEntry(new HtmlTagParam(name, value, quoteCharacter, form));
            return;
        }
        // The list of a page's tag grows in the arena too: one malloc block
        // less for every tag with more parameters than the list holds inline.
        if (Object.GetCount() == Object.GetCapacity()) {
            const unsigned capacity = Object.GetCapacity() * 2;
            Object.UseStorage(static_cast<void**>(Arena->Allocate(capacity * sizeof(void*), alignof(void*))), capacity);
        }
        Object.AddEntry(Arena->Make<HtmlTagParam>(name, value, quoteCharacter, form));
    }
    void Close(HtmlObject::Closing closing) { Object.SetClosing(closing); }

    HtmlObject& Object;
    HtmlObjectArena* Arena;
    bool IsEnd;
};

// Writes the tag as HtmlObject::AppendOutputTo would write its object.
struct OutputReceiver {
    void Label(std::string_view label) {
        Out.Append('<');
        if (IsEnd) Out.Append('/');
        Out.AppendBytes(label.data(), label.size());
    }
    void Param(std::string_view name, std::string_view value, char quote, HtmlTagParam::ValueForm form) {
        if (!IsEnd) HtmlTagParam::AppendOutputTo(Out, name, value, static_cast<wchar_t>(quote), form);
    }
    void Close(HtmlObject::Closing closing) { Closing = closing; }
    void Finish() {
        if (!IsEnd && Closing == HtmlObject::Closing::Slash) Out.Append('/');
        if (!IsEnd && Closing == HtmlObject::Closing::BlankSlash) Out.AppendBytes(" /", 2);
        Out.Append('>');
    }

    NyxString& Out;
    bool IsEnd;
    HtmlObject::Closing Closing = HtmlObject::Closing::Plain;
};

// Reads the tag that starts at `at` of `text` and hands its parts to
// `receiver`. Returns the offset behind its '>', or kNotFound if the input
// ends first or the tag is too large.
template <class Receiver>
std::size_t ScanTag(std::string_view text, std::size_t at, bool isEnd, Receiver& receiver);

template <class Receiver>
std::size_t ScanTagBody(std::string_view text, std::size_t at, bool isEnd, Receiver& receiver) {
    const char* const Begin = text.data();
    const std::size_t Size = text.size();
    auto classAt = [Begin](std::size_t offset) { return kByteClasses.Of[static_cast<unsigned char>(Begin[offset])]; };
    std::size_t p = at + (isEnd ? 2 : 1);
    const std::size_t labelStart = p;
    while (p < Size && (classAt(p) & kEndsLabel) == 0) ++p;
    if (p >= Size) return kNotFound;
    receiver.Label(std::string_view(Begin + labelStart, p - labelStart));

    // Each pass takes one parameter, or a stray '/', and moves p forward.
    while (true) {
        while (p < Size && (classAt(p) & kBlank) != 0) ++p;
        if (p >= Size) return kNotFound;
        const char c = Begin[p];
        if (c == '>') return p + 1;
        if (c == '/') {
            if (p + 1 < Size && Begin[p + 1] == '>') {
                const bool blank = (classAt(p - 1) & kBlank) != 0;
                receiver.Close(blank ? HtmlObject::Closing::BlankSlash : HtmlObject::Closing::Slash);
                return p + 2;
            }
            ++p;  // a slash inside a tag means nothing
            continue;
        }

        // Name: its first byte may be anything, '=' included.
        const std::size_t nameStart = p++;
        while (p < Size && (classAt(p) & kEndsName) == 0) ++p;
        if (p >= Size) return kNotFound;
        const std::string_view name(Begin + nameStart, p - nameStart);
        std::size_t q = p;
        while (q < Size && (classAt(q) & kBlank) != 0) ++q;
        if (q >= Size) return kNotFound;
        if (Begin[q] != '=') {
            receiver.Param(name, {}, 0, HtmlTagParam::ValueForm::Bare);
            p = q;
            continue;
        }

        // Value: quoted, unquoted up to a blank or '>', or empty.
        p = q + 1;
        while (p < Size && (classAt(p) & kBlank) != 0) ++p;
        if (p >= Size) return kNotFound;
        const char quote = Begin[p];
        if (quote == '"' || quote == '\'') {
            const void* close = std::memchr(Begin + p + 1, quote, Size - p - 1);
            if (close == nullptr) return kNotFound;
            const std::size_t end = static_cast<std::size_t>(static_cast<const char*>(close) - Begin);
            receiver.Param(name, std::string_view(Begin + p + 1, end - p - 1), quote, HtmlTagParam::ValueForm::Quoted);
            p = end + 1;
            continue;
        }
        const std::size_t valueStart = p;
        while (p < Size && (classAt(p) & kEndsUnquoted) == 0) ++p;
        if (p >= Size) return kNotFound;
        receiver.Param(name, std::string_view(Begin + valueStart, p - valueStart), 0, HtmlTagParam::ValueForm::Quoted);
    }
}

template <class Receiver>
std::size_t ScanTag(std::string_view text, std::size_t at, bool isEnd, Receiver& receiver) {
    const std::size_t behind = ScanTagBody(text, at, isEnd, receiver);
    return behind != kNotFound && behind - at > HtmlParser::kMaxObjectSize ? kNotFound : behind;
}

// One run over one text, handing a record per object to the sink.
class Tokenizer {
public:
    // The sink asks for a record's line only when it keeps one.
    using Sink = void (*)(void* context, const HtmlRecord& record, Tokenizer& tokenizer);
    Tokenizer(std::string_view source, Sink sink, void* context)
        : Source(source), Begin(source.data()), Size(source.size()), Emit(sink), Context(context) {}

    void Run();
    // The line of `offset`; offsets must only grow from call to call.
    unsigned LineAt(std::size_t offset);

private:
    std::size_t TakeTag(std::size_t at, bool isEnd);
    std::size_t TakeRawText(std::size_t from, std::string_view label);
    bool IsEndTagOf(std::size_t at, std::string_view label) const;
    std::size_t SkipMarkupDeclaration(std::size_t at) const;
    std::size_t SkipPastGreater(std::size_t from) const;
    void EmitText(std::size_t from, std::size_t to, bool evenEmpty);
    void EmitTag(const ShapeReceiver& shape, bool isEnd, std::size_t at, std::size_t behind);

    uint8_t ClassAt(std::size_t offset) const { return kByteClasses.Of[static_cast<unsigned char>(Begin[offset])]; }

    std::string_view Source;
    const char* Begin;
    std::size_t Size;
    Sink Emit;
    void* Context;
    std::size_t TextStart = 0;      // first byte not yet in an object
    std::size_t LineCountedTo = 0;  // Line is the line of this offset
    unsigned Line = 1;
};

// Finds each '<' and decides what it opens: a start tag (a letter follows), an
// end tag ("</" and a letter), a comment or declaration ("<!"), a processing
// instruction ("<?"), or nothing, in which case it is text like its neighbours.
void Tokenizer::Run() {
    std::size_t pos = 0;
    while (pos < Size) {
        const void* found = std::memchr(Begin + pos, '<', Size - pos);
        if (found == nullptr) break;
        const std::size_t at = static_cast<std::size_t>(static_cast<const char*>(found) - Begin);
        if (at + 1 >= Size) break;
        const char next = Begin[at + 1];
        if (IsAsciiLetter(next)) {
            pos = TakeTag(at, false);
        } else if (next == '/' && at + 2 < Size && IsAsciiLetter(Begin[at + 2])) {
            pos = TakeTag(at, true);
        } else if (next == '!') {
            pos = SkipMarkupDeclaration(at);
        } else if (next == '?') {
            pos = SkipPastGreater(at + 2);
        } else {
            pos = at + 1;
        }
    }
    EmitText(TextStart, Size, false);
}

// A tag at `at`. If the input ends inside it, it is no tag: the rest of the
// input stays text. Returns where to go on.
std::size_t Tokenizer::TakeTag(std::size_t at, bool isEnd) {
    ShapeReceiver shape;
    const std::size_t behind = ScanTag(Source, at, isEnd, shape);
    if (behind == kNotFound) return Size;
    const bool rawText = !isEnd && (shape.Id == TagId::Script || shape.Id == TagId::Style);
    const std::string_view label(Begin + at + 1, shape.LabelSize);
    EmitText(TextStart, at, false);
    EmitTag(shape, isEnd, at, behind);
    return rawText ? TakeRawText(behind, label) : behind;
}

// The content of a SCRIPT or STYLE element: one text object, also an empty
// one, up to the end tag of the same label in any case, then that end tag.
// Without an end tag the content runs to the end of the input.
std::size_t Tokenizer::TakeRawText(std::size_t from, std::string_view label) {
    std::size_t search = from;
    while (search < Size) {
        const void* found = std::memchr(Begin + search, '<', Size - search);
        if (found == nullptr) break;
        const std::size_t at = static_cast<std::size_t>(static_cast<const char*>(found) - Begin);
        if (IsEndTagOf(at, label)) {
            ShapeReceiver shape;
            const std::size_t behind = ScanTag(Source, at, true, shape);
            if (behind == kNotFound) break;
            EmitText(from, at, true);
            EmitTag(shape, true, at, behind);
            return behind;
        }
        search = at + 1;
    }
    EmitText(from, Size, true);
    return Size;
}

bool Tokenizer::IsEndTagOf(std::size_t at, std::string_view label) const {
    const std::size_t size = label.size();
    if (at + 2 + size >= Size || Begin[at + 1] != '/') return false;
    const char* name = Begin + at + 2;
    for (std::size_t i = 0; i < size; ++i) {
        if (LowerAscii(name[i]) != LowerAscii(label[i])) return false;
    }
    return (ClassAt(at + 2 + size) & kEndsLabel) != 0;
}

// "<!--" opens a comment that ends at the first "-->" (also "<!-->" and
// "<!--->"); any other "<!" ends at the first '>'. Either runs to the end of
// the input if unclosed. Returns the offset behind it.
std::size_t Tokenizer::SkipMarkupDeclaration(std::size_t at) const {
    if (at + 3 < Size && Begin[at + 2] == '-' && Begin[at + 3] == '-') {
        std::size_t p = at + 4;
        while (p < Size) {
            const void* found = std::memchr(Begin + p, '>', Size - p);
            if (found == nullptr) return Size;
            const std::size_t g = static_cast<std::size_t>(static_cast<const char*>(found) - Begin);
            if (Begin[g - 1] == '-' && Begin[g - 2] == '-') return g + 1;
            p = g + 1;
        }
        return Size;
    }
    return SkipPastGreater(at + 2);
}

std::size_t Tokenizer::SkipPastGreater(std::size_t from) const {
    if (from >= Size) return Size;
    const void* found = std::memchr(Begin + from, '>', Size - from);
    return found == nullptr ? Size : static_cast<std::size_t>(static_cast<const char*>(found) - Begin) + 1;
}

// One text object for [from, to), or several if it is longer than an object may be.
void Tokenizer::EmitText(std::size_t from, std::size_t to, bool evenEmpty) {
    if (to == from && !evenEmpty) return;
    do {
        const std::size_t size = to - from < HtmlParser::kMaxObjectSize ? to - from : HtmlParser::kMaxObjectSize;
        HtmlRecord record;
        record.Offset = static_cast<uint32_t>(from);
        Emit(Context, record, *this);
        from += size;
    } while (from < to);
    TextStart = to;
}

void Tokenizer::EmitTag(const ShapeReceiver& shape, bool isEnd, std::size_t at, std::size_t behind) {
    HtmlRecord record;
    record.Offset = static_cast<uint32_t>(at);
    record.TagId = static_cast<uint16_t>(shape.Id);
    record.Bits = shape.Bits | (isEnd ? HtmlRecord::kEnd : 0);
    if (shape.LabelSize <= HtmlRecord::kMostLabelSize) {
        record.LabelSize = static_cast<uint8_t>(shape.LabelSize);
    } else {
        record.Bits |= HtmlRecord::kNeedsObject;
    }
    Emit(Context, record, *this);
    TextStart = behind;
}

// Offsets only grow from call to call, so every byte is counted once.
unsigned Tokenizer::LineAt(std::size_t offset) {
    if (offset <= LineCountedTo) return Line;
    const std::size_t size = offset - LineCountedTo;
    if (size < kShortSpan) {
        // Most spans between two objects are a tag or a few words.
        for (const char* p = Begin + LineCountedTo; p != Begin + offset; ++p) Line += *p == '\n';
    } else {
        Line += static_cast<unsigned>(HtmlParser::CountLineFeeds(Begin + LineCountedTo, size));
    }
    LineCountedTo = offset;
    return Line;
}

}  // namespace

HtmlParser::HtmlParser(std::string_view text) : Source(text) {}

void HtmlParser::ParseInto(HtmlObjectList& list) {
    // A lambda of this member may reach the list's private appending.
    Tokenizer tokenizer(Source, [](void* context, const HtmlRecord& record, Tokenizer& lines) {
        auto& into = *static_cast<HtmlObjectList*>(context);
        const bool keepsLine = (into.Count & HtmlObjectList::kSegmentMask) == 0;
        into.AppendRecord(record, keepsLine ? lines.LineAt(record.Offset) : 0);
    }, &list);
    tokenizer.Run();
}

bool HtmlParser::ReadTag(std::string_view text, std::size_t at, bool isEnd, HtmlObject& object,
                         HtmlObjectArena* arena) {
    ObjectReceiver receiver{object, arena, isEnd};
    return ScanTag(text, at, isEnd, receiver) != kNotFound;
}

void HtmlParser::AppendTagOutput(std::string_view text, std::size_t at, bool isEnd, NyxString& out) {
    OutputReceiver receiver{out, isEnd};
    if (ScanTag(text, at, isEnd, receiver) != kNotFound) receiver.Finish();
}
