// NyxString: storage, comparison, search and formatting.
#include "values/NyxString.h"

#include "values/NyxVector.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>

namespace {

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool BytesEqual(const char* a, const char* b, std::size_t n, bool caseSensitive) {
    if (caseSensitive) return std::memcmp(a, b, n) == 0;
    for (std::size_t i = 0; i < n; ++i) {
        if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    }
    return true;
}

// Position of `what` in `text` from `start`, or npos.
std::size_t FindBytes(std::string_view text, std::string_view what, std::size_t start, bool caseSensitive) {
    if (start > text.size()) return std::string_view::npos;
    if (caseSensitive) return text.find(what, start);
    if (what.empty()) return start;
    for (std::size_t i = start; i + what.size() <= text.size(); ++i) {
        if (BytesEqual(text.data() + i, what.data(), what.size(), false)) return i;
    }
    return std::string_view::npos;
}

}  // namespace

int NyxStrICmp(const char* a, const char* b) {
    for (;; ++a, ++b) {
        const int ca = static_cast<unsigned char>(LowerAscii(*a));
        const int cb = static_cast<unsigned char>(LowerAscii(*b));
        if (ca != cb || ca == 0) return ca - cb;
    }
}

NyxString::NyxString(const char* text) : NyxString() {
    if (text != nullptr) AppendBytes(text, std::strlen(text));
}

NyxString::NyxString(const char* text, unsigned count) : NyxString() {
    if (text != nullptr) Append(text, count);
}

NyxString::NyxString(std::string_view text) : NyxString() { AppendBytes(text.data(), text.size()); }

NyxString::NyxString(const NyxString& other) : NyxString() { AppendBytes(other.Buffer, other.Size); }

NyxString::NyxString(NyxString&& other) noexcept : NyxString() {
    if (other.Buffer == other.Inline) {
        std::memcpy(Inline, other.Inline, other.Size + 1);
    } else {
        Buffer = other.Buffer;
        Capacity = other.Capacity;
        other.Buffer = other.Inline;
        other.Capacity = kInline;
    }
    Length = Size = other.Size;
    other.Length = other.Size = 0;
    other.Buffer[0] = '\0';
}

void NyxString::Grow(unsigned needed) {
    if (needed <= Capacity) return;
    const std::size_t doubled = static_cast<std::size_t>(Capacity) * 2;
    const auto capacity = static_cast<unsigned>(std::min<std::size_t>(doubled > needed ? doubled : needed, 0xFFFFFFFEu));
    if (capacity < needed) throw std::bad_alloc();
    // realloc moves a large block by remapping its pages: no second copy of
    // a big output is touched on the way.
    char* block = static_cast<char*>(Buffer != Inline ? std::realloc(Buffer, static_cast<std::size_t>(capacity) + 1)
                                                      : std::malloc(static_cast<std::size_t>(capacity) + 1));
    if (block == nullptr) throw std::bad_alloc();
    if (Buffer == Inline) std::memcpy(block, Buffer, static_cast<std::size_t>(Size) + 1);
    Buffer = block;
    Capacity = capacity;
}

void NyxString::Reserve(unsigned capacity) { Grow(capacity); }

void NyxString::SetSizeInternal(unsigned size) {
    Size = Length = size;
    Buffer[size] = '\0';
}

void NyxString::AppendBytesSlow(const char* data, std::size_t size) {
    if (size == 0) return;
    const unsigned total = Size + static_cast<unsigned>(size);
    if (data >= Buffer && data <= Buffer + Size) {
        // Appending a piece of this very string: copy it out first.
        std::string copy(data, size);
        Grow(total);
        std::memcpy(Buffer + Size, copy.data(), size);
    } else {
        Grow(total);
        std::memcpy(Buffer + Size, data, size);
    }
    SetSizeInternal(total);
}

void NyxString::Append(const char* text, unsigned count, Encoding_e encoding) {
    if (text == nullptr) return;
    if (encoding == Encoding_TCHAR) {
        const auto* wide = reinterpret_cast<const wchar_t*>(text);
        std::size_t n = count == kAll ? std::wcslen(wide) : count;
        for (std::size_t i = 0; i < n; ++i) {
            const wchar_t w = wide[i];
            Append(static_cast<char>(w <= 0xFF ? w : '?'), 1);
        }
        return;
    }
    std::size_t n = count == kAll ? std::strlen(text) : strnlen(text, count);
    AppendBytes(text, n);
}

void NyxString::Append(const NyxString& other, unsigned count) {
    const unsigned n = count == kAll || count > other.Size ? other.Size : count;
    AppendBytes(other.Buffer, n);
}

void NyxString::AppendRepeated(char c, unsigned count) {
    if (count == 0) return;
    Grow(Size + count);
    std::memset(Buffer + Size, c, count);
    SetSizeInternal(Size + count);
}

void NyxString::Clear() { SetLength(0); }

void NyxString::Assign(const char* text, unsigned count, Encoding_e encoding) {
    if (text >= Buffer && text <= Buffer + Size) {
        NyxString copy(text, count == kAll ? kAll : count);
        SetLength(0);
        Append(copy);
        return;
    }
    if (Size != 0) SetLength(0);
    Append(text, count, encoding);
}

void NyxString::Assign(const NyxString& other, unsigned count) {
    if (&other == this) {
        if (count != kAll) SetLength(GetCharPosFromBytePos(count));
        return;
    }
    if (Size != 0) SetLength(0);
    Append(other, count);
}

void NyxString::AssignTCHAR(const wchar_t* text, unsigned count) {
    Assign(reinterpret_cast<const char*>(text), count, Encoding_TCHAR);
}

void NyxString::Assign(char c, unsigned count) {
    if (Size != 0) SetLength(0);
    Append(c, count);
}

void NyxString::SetTo(const char* text) { Assign(text, kAll, Encoding_Default); }
void NyxString::SetTo(const NyxString& other) { Assign(other, kAll); }
void NyxString::SetToTCHAR(const wchar_t* text) { AssignTCHAR(text, kAll); }

void NyxString::CopyInto(char* target, Encoding_e encoding) {
    std::memcpy(target, GetString(encoding), GetSize(encoding) + SizeOfNULL(encoding));
}

void NyxString::CopyIntoTCHAR(wchar_t* target) {
    CopyInto(reinterpret_cast<char*>(target), Encoding_TCHAR);
}

NyxString& NyxString::operator=(const char* text) {
    SetTo(text);
    return *this;
}

NyxString& NyxString::operator=(const NyxString& other) {
    SetTo(other);
    return *this;
}

NyxString& NyxString::operator=(NyxString&& other) noexcept {
    if (this == &other) return *this;
    if (other.Buffer == other.Inline || Buffer != Inline) {
        // Keep it simple: copy when either side lives inline or we already own a block.
        if (other.Buffer != other.Inline) {
            std::free(Buffer);
            Buffer = other.Buffer;
            Capacity = other.Capacity;
            other.Buffer = other.Inline;
            other.Capacity = kInline;
            Length = Size = other.Size;
        } else {
            SetLength(0);
            AppendBytes(other.Buffer, other.Size);
        }
    } else {
        Buffer = other.Buffer;
        Capacity = other.Capacity;
        Length = Size = other.Size;
        other.Buffer = other.Inline;
        other.Capacity = kInline;
    }
    other.Length = other.Size = 0;
    other.Buffer[0] = '\0';
    return *this;
}

NyxString& NyxString::operator+=(const char* text) {
    Append(text, kAll);
    return *this;
}

NyxString& NyxString::operator+=(const NyxString& other) {
    Append(other, kAll);
    return *this;
}

NyxString NyxString::operator+(const char* text) const {
    NyxString result(*this);
    result += text;
    return result;
}

NyxString NyxString::operator+(const NyxString& other) const {
    NyxString result(*this);
    result += other;
    return result;
}

const char* NyxString::GetString(Encoding_e encoding) const {
    if (encoding == Encoding_TCHAR) return reinterpret_cast<const char*>(GetTCHAR());
    return Buffer;
}

unsigned NyxString::GetSize(Encoding_e encoding) const {
    return encoding == Encoding_TCHAR ? Size * static_cast<unsigned>(sizeof(wchar_t)) : Size;
}

unsigned NyxString::SizeOfNULL(Encoding_e encoding) {
    return encoding == Encoding_TCHAR ? static_cast<unsigned>(sizeof(wchar_t)) : 1;
}

// The wide form lives in one buffer per thread, valid until the thread's next
// call: no string pays for a pointer it almost never uses.
const wchar_t* NyxString::GetTCHAR() const {
    thread_local std::wstring wide;
    wide.assign(Buffer, Buffer + Size);
    for (wchar_t& c : wide) c = static_cast<unsigned char>(c);
    return wide.c_str();
}

unsigned NyxString::GetSizeTCHAR() const { return GetSize(Encoding_TCHAR); }

void NyxString::SetLength(unsigned length) {
    if (length < Size) SetSizeInternal(length);
}

NyxString NyxString::GetSubstring(unsigned start, unsigned count) const {
    if (start >= Size) return NyxString();
    const unsigned rest = Size - start;
    return NyxString(std::string_view(Buffer + start, count == kAll || count > rest ? rest : count));
}

void NyxString::Remove(unsigned start, unsigned count) {
    if (start >= Size) return;
    const unsigned rest = Size - start;
    const unsigned n = count == kAll || count > rest ? rest : count;
    std::memmove(Buffer + start, Buffer + start + n, Size - start - n);
    SetSizeInternal(Size - n);
}

bool NyxString::Insert(unsigned position, const NyxString& text) {
    if (position > Size) return false;
    if (&text == this) return Insert(position, NyxString(text));  // the text changes below
    NyxString tail = GetSubstring(position);
    SetSizeInternal(position);
    Append(text);
    Append(tail);
    return true;
}

bool NyxString::Insert(unsigned position, const char* text) { return Insert(position, NyxString(text)); }

NyxString& NyxString::ToLower() {
    for (unsigned i = 0; i < Size; ++i) Buffer[i] = LowerAscii(Buffer[i]);
    return *this;
}

NyxString& NyxString::ToUpper() {
    for (unsigned i = 0; i < Size; ++i) {
        if (Buffer[i] >= 'a' && Buffer[i] <= 'z') Buffer[i] = static_cast<char>(Buffer[i] - 'a' + 'A');
    }
    return *this;
}

int NyxString::Compare(const char* text, bool caseSensitive) const {
    if (text == nullptr) return 1;
    return caseSensitive ? std::strcmp(Buffer, text) : NyxStrICmp(Buffer, text);
}

int NyxString::Compare(const NyxString& other, bool caseSensitive) const {
    return Compare(other.Buffer, caseSensitive);
}

bool NyxString::IsEqualTo(const char* text, bool caseSensitive) const {
    if (text == nullptr || *text == '\0') return IsEmpty();
    return Compare(text, caseSensitive) == 0;
}

bool NyxString::IsEqualTo(const NyxString& other, bool caseSensitive) const {
    if (other.IsEmpty()) return IsEmpty();
    if (Size != other.Size) return false;
    return BytesEqual(Buffer, other.Buffer, Size, caseSensitive);
}

unsigned NyxString::FindFirst(const char* what, unsigned start, bool caseSensitive) const {
    if (what == nullptr || *what == '\0') return kAll;
    const std::size_t at = FindBytes(View(), what, start, caseSensitive);
    return at == std::string_view::npos ? kAll : static_cast<unsigned>(at);
}

unsigned NyxString::FindFirst(const NyxString& what, unsigned start, bool caseSensitive) const {
    return FindFirst(what.GetString(), start, caseSensitive);
}

unsigned NyxString::FindLast(const char* what, bool caseSensitive) const {
    if (what == nullptr || *what == '\0') return kAll;
    const std::size_t n = std::strlen(what);
    if (n > Size) return kAll;
    for (std::size_t i = Size - n + 1; i-- > 0;) {
        if (BytesEqual(Buffer + i, what, n, caseSensitive)) return static_cast<unsigned>(i);
    }
    return kAll;
}

unsigned NyxString::FindLast(const NyxString& what, bool caseSensitive) const {
    return FindLast(what.GetString(), caseSensitive);
}

unsigned NyxString::FindCount(const char* what, bool caseSensitive) const {
    if (what == nullptr || *what == '\0') return 0;
    const std::size_t n = std::strlen(what);
    unsigned count = 0;
    for (std::size_t at = FindBytes(View(), what, 0, caseSensitive); at != std::string_view::npos;
         at = FindBytes(View(), what, at + n, caseSensitive)) {
        ++count;
    }
    return count;
}

unsigned NyxString::FindCount(const NyxString& what, bool caseSensitive) const {
    return FindCount(what.GetString(), caseSensitive);
}

bool NyxString::ReplaceFirst(const char* from, const char* to, bool caseSensitive) {
    if (from == nullptr || *from == '\0') return false;
    const std::size_t at = FindBytes(View(), from, 0, caseSensitive);
    if (at == std::string_view::npos) return false;
    NyxString result(std::string_view(Buffer, at));
    result.Append(to);
    result.AppendBytes(Buffer + at + std::strlen(from), Size - at - std::strlen(from));
    *this = std::move(result);
    return true;
}

bool NyxString::ReplaceFirst(const NyxString& from, const NyxString& to, bool caseSensitive) {
    return ReplaceFirst(from.GetString(), to.GetString(), caseSensitive);
}

unsigned NyxString::ReplaceAll(const char* from, const char* to, bool caseSensitive) {
    if (from == nullptr || *from == '\0') return 0;
    const std::size_t n = std::strlen(from);
    std::size_t at = FindBytes(View(), from, 0, caseSensitive);
    if (at == std::string_view::npos) return 0;
    const std::string replacement = to == nullptr ? std::string() : std::string(to);
    NyxString result;
    std::size_t done = 0;
    unsigned count = 0;
    for (; at != std::string_view::npos; at = FindBytes(View(), from, at + n, caseSensitive)) {
        result.AppendBytes(Buffer + done, at - done);
        result.AppendBytes(replacement.data(), replacement.size());
        done = at + n;
        ++count;
    }
    result.AppendBytes(Buffer + done, Size - done);
    *this = std::move(result);
    return count;
}

unsigned NyxString::ReplaceAll(const NyxString& from, const NyxString& to, bool caseSensitive) {
    return ReplaceAll(from.GetString(), to.GetString(), caseSensitive);
}

bool NyxString::StartsWith(const NyxString& text, bool caseSensitive) const {
    return text.Size <= Size && BytesEqual(Buffer, text.Buffer, text.Size, caseSensitive);
}

bool NyxString::StartsWith(const char* text, bool caseSensitive) const {
    return StartsWith(NyxString(text), caseSensitive);
}

bool NyxString::EndsWith(const NyxString& text, bool caseSensitive) const {
    return text.Size <= Size && BytesEqual(Buffer + Size - text.Size, text.Buffer, text.Size, caseSensitive);
}

bool NyxString::EndsWith(const char* text, bool caseSensitive) const {
    return EndsWith(NyxString(text), caseSensitive);
}

bool NyxString::MatchImpl(const char* pattern, bool caseSensitive) const {
    // Iterative wildcard match with one backtrack point: linear in practice, never recursive.
    const char* s = Buffer;
    const char* p = pattern;
    const char* star = nullptr;
    const char* resume = nullptr;
    while (*s != '\0') {
        if (*p == '*') {
            star = p++;
            resume = s;
        } else if (*p != '\0' && (*p == '?' || (caseSensitive ? *p == *s : LowerAscii(*p) == LowerAscii(*s)))) {
            ++p;
            ++s;
        } else if (star != nullptr) {
            p = star + 1;
            s = ++resume;
        } else {
            return false;
        }
    }
    while (*p == '*') ++p;
    return *p == '\0';
}

bool NyxString::Match(const NyxString& pattern, int) const { return MatchImpl(pattern.GetString(), true); }
bool NyxString::Match(const NyxString& pattern, NyxVector<NyxString>&, int) const {
    return MatchImpl(pattern.GetString(), true);
}
bool NyxString::Match(const char* pattern, int flags) const { return Match(NyxString(pattern), flags); }
bool NyxString::Match(const char* pattern, NyxVector<NyxString>& groups, int flags) const {
    return Match(NyxString(pattern), groups, flags);
}
bool NyxString::MatchNoCase(const NyxString& pattern, int) const { return MatchImpl(pattern.GetString(), false); }
bool NyxString::MatchNoCase(const NyxString& pattern, NyxVector<NyxString>&, int) const {
    return MatchImpl(pattern.GetString(), false);
}
bool NyxString::MatchNoCase(const char* pattern, int flags) const { return MatchNoCase(NyxString(pattern), flags); }
bool NyxString::MatchNoCase(const char* pattern, NyxVector<NyxString>& groups, int flags) const {
    return MatchNoCase(NyxString(pattern), groups, flags);
}

void NyxString::Printf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    VPrintf(format, arguments);
    va_end(arguments);
}

void NyxString::VPrintf(const NyxString& format, va_list arguments) { VPrintf(format.GetString(), arguments); }

namespace {

// One conversion of a format: its own piece of the format, for snprintf,
// and what it takes from the arguments.
struct Conversion {
    char Piece[64];
    std::size_t Length = 0;
    int Stars[2] = {0, 0};  // widths and precisions given as '*'
    int StarCount = 0;
    int Longs = 0;          // 'l' modifiers
    bool SizeT = false;     // a 'z' modifier
    char Kind = '\0';
};

// Reads the conversion whose '%' is just before `q`: flags, width,
// precision, length modifiers and the conversion letter; '*' values come
// from `args`. Returns the position behind it, or null if the format ends.
const char* ReadConversion(const char* q, va_list* args, Conversion& c) {
    c.Piece[c.Length++] = '%';
    while (*q != '\0' && std::strchr("-+ #0123456789.*", *q) != nullptr && c.Length < 40) {
        if (*q == '*' && c.StarCount < 2) c.Stars[c.StarCount++] = va_arg(*args, int);
        c.Piece[c.Length++] = *q++;
    }
    while ((*q == 'l' || *q == 'h' || *q == 'z' || *q == 'L') && c.Length < 60) {
        if (*q == 'l') ++c.Longs;
        if (*q == 'z') c.SizeT = true;
        c.Piece[c.Length++] = *q++;
    }
    if (*q == '\0') return nullptr;
    c.Kind = *q;
    c.Piece[c.Length++] = *q;
    c.Piece[c.Length] = '\0';
    return q + 1;
}

// snprintf of one value through the conversion's piece, its '*' values first.
template <class T>
int FormatOne(char* target, std::size_t size, const Conversion& c, T value) {
    if (c.StarCount == 2) return std::snprintf(target, size, c.Piece, c.Stars[0], c.Stars[1], value);
    if (c.StarCount == 1) return std::snprintf(target, size, c.Piece, c.Stars[0], value);
    return std::snprintf(target, size, c.Piece, value);
}

// Appends the text of a %s conversion. With a width or precision it is
// measured first: with a precision the text need not be terminated.
void AppendText(NyxString& result, const Conversion& c, const char* text) {
    if (text == nullptr) text = "(null)";
    if (c.StarCount == 0 && c.Length == 2) {
        result.Append(text);
        return;
    }
    const int n = FormatOne(nullptr, 0, c, text);
    if (n <= 0) return;
    std::string big(static_cast<std::size_t>(n) + 1, '\0');
    FormatOne(big.data(), big.size(), c, text);
    result.AppendBytes(big.data(), static_cast<std::size_t>(n));
}

// Appends one conversion, its value taken from `args`.
void AppendConversion(NyxString& result, const Conversion& c, va_list* args) {
    char number[512];  // holds any double in %f; only an absurd width is cut
    int written = 0;
    switch (c.Kind) {
    case 'S':
        if (const auto* text = va_arg(*args, const NyxString*)) result.Append(*text);
        return;
    case 's':
        AppendText(result, c, va_arg(*args, const char*));
        return;
    case 'c':
        written = FormatOne(number, sizeof number, c, va_arg(*args, int));
        break;
    case 'd':
    case 'i':
        if (c.SizeT) written = FormatOne(number, sizeof number, c, va_arg(*args, long));
        else if (c.Longs >= 2) written = FormatOne(number, sizeof number, c, va_arg(*args, long long));
        else if (c.Longs == 1) written = FormatOne(number, sizeof number, c, va_arg(*args, long));
        else written = FormatOne(number, sizeof number, c, va_arg(*args, int));
        break;
    case 'u':
    case 'x':
    case 'X':
    case 'o':
        if (c.SizeT) written = FormatOne(number, sizeof number, c, va_arg(*args, std::size_t));
        else if (c.Longs >= 2) written = FormatOne(number, sizeof number, c, va_arg(*args, unsigned long long));
        else if (c.Longs == 1) written = FormatOne(number, sizeof number, c, va_arg(*args, unsigned long));
        else written = FormatOne(number, sizeof number, c, va_arg(*args, unsigned));
        break;
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
        written = FormatOne(number, sizeof number, c, va_arg(*args, double));
        break;
    case 'p':
        written = FormatOne(number, sizeof number, c, va_arg(*args, void*));
        break;
    default:
        // Unknown conversion: keep the text as written.
        result.AppendBytes(c.Piece, c.Length);
        return;
    }
    if (written > 0) result.AppendBytes(number, std::min<std::size_t>(static_cast<std::size_t>(written), sizeof number - 1));
}

}  // namespace

// Walks the format one conversion at a time; %S appends a NyxString, every
// other conversion is handed to snprintf with its own piece of the format.
void NyxString::VPrintf(const char* format, va_list arguments) {
    va_list args;
    va_copy(args, arguments);
    NyxString result;
    const char* p = format == nullptr ? "" : format;
    while (*p != '\0') {
        const char* percent = std::strchr(p, '%');
        if (percent == nullptr) {
            result.Append(p);
            break;
        }
        result.AppendBytes(p, static_cast<std::size_t>(percent - p));
        if (percent[1] == '%') {
            result.Append('%', 1);
            p = percent + 2;
            continue;
        }
        Conversion conversion;
        p = ReadConversion(percent + 1, &args, conversion);
        if (p == nullptr) break;
        AppendConversion(result, conversion, &args);
    }
    va_end(args);
    *this = std::move(result);
}
