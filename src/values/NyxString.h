// NyxString: the byte string that every part of the engine speaks in.
// The narrow form is the bytes as they came; a character is one byte, so
// GetLength() and GetSize() agree and positions are byte positions.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

template <class T> class NyxVector;

class NyxString {
public:
    enum Encoding_e { Encoding_Default = 0, Encoding_TCHAR = 110 };
    static constexpr unsigned kAll = 0xFFFFFFFFu;  // a count meaning "the rest", a failed search

    NyxString() : Buffer(Inline), Capacity(kInline), Length(0), Size(0) { Inline[0] = '\0'; }
    NyxString(const char* text);  // null gives the empty string
    NyxString(const char* text, unsigned count);
    NyxString(std::string_view text);
    NyxString(const NyxString& other);
    NyxString(NyxString&& other) noexcept;
    virtual ~NyxString() {
        if (Buffer != Inline) std::free(Buffer);
    }

    // Assignment family.
    void Clear();
    void Assign(const char* text, unsigned count, Encoding_e encoding = Encoding_Default);
    void Assign(const NyxString& other, unsigned count);
    void AssignTCHAR(const wchar_t* text, unsigned count);
    void Assign(char c, unsigned count);
    void SetTo(const char* text);
    void SetTo(const NyxString& other);
    void SetToTCHAR(const wchar_t* text);
    void CopyInto(char* target, Encoding_e encoding = Encoding_Default);
    void CopyIntoTCHAR(wchar_t* target);
    NyxString& operator=(const char* text);
    NyxString& operator=(const NyxString& other);
    NyxString& operator=(NyxString&& other) noexcept;
    NyxString& operator+=(const char* text);
    NyxString& operator+=(const NyxString& other);
    NyxString operator+(const char* text) const;
    NyxString operator+(const NyxString& other) const;

    // Appending.
    void Append(const char* text, unsigned count = kAll, Encoding_e encoding = Encoding_Default);
    void Append(const NyxString& other, unsigned count = kAll);
    void Append(char c, unsigned count = 1) {
        if (count == 1 && Size < Capacity) {
            Buffer[Size] = c;
            Buffer[++Size] = '\0';
            Length = Size;
            return;
        }
        AppendRepeated(c, count);
    }
    // The hot path of every append: room enough and a source outside this string.
    void AppendBytes(const char* data, std::size_t size) {
        if (size == 0) return;
        if (size <= Capacity - Size && (data + size <= Buffer || data > Buffer + Capacity)) {
            std::memcpy(Buffer + Size, data, size);
            Size += static_cast<unsigned>(size);
            Length = Size;
            Buffer[Size] = '\0';
            return;
        }
        AppendBytesSlow(data, size);
    }

    // Access.
    const char* GetString() const { return Buffer; }
    const char* GetString(Encoding_e encoding) const;
    unsigned GetCapacity() const { return Capacity; }
    unsigned GetLength() const { return Length; }
    unsigned GetSize() const { return Size; }
    unsigned GetSize(Encoding_e encoding) const;
    static unsigned SizeOfNULL(Encoding_e encoding);
    // Valid until the next GetTCHAR call of the same thread.
    const wchar_t* GetTCHAR() const;
    unsigned GetSizeTCHAR() const;
    bool IsEmpty() const { return Length == 0; }
    bool IsNotEmpty() const { return Length != 0; }
    char operator[](unsigned position) const { return position < Size ? Buffer[position] : '\0'; }
    std::string_view View() const { return {Buffer, Size}; }
    std::string ToStd() const { return std::string(Buffer, Size); }
    unsigned GetCharPosFromBytePos(unsigned position) const { return position; }

    // Editing.
    void SetLength(unsigned length);
    NyxString GetSubstring(unsigned start, unsigned count = kAll) const;
    void Remove(unsigned start, unsigned count = kAll);
    bool Insert(unsigned position, const NyxString& text);
    bool Insert(unsigned position, const char* text);
    NyxString& ToLower();
    NyxString& ToUpper();
    void Reserve(unsigned capacity);

    // Comparison. caseSensitive true means exact.
    int Compare(const char* text, bool caseSensitive = true) const;
    int Compare(const NyxString& other, bool caseSensitive = true) const;
    bool IsEqualTo(const char* text, bool caseSensitive = true) const;
    bool IsEqualTo(const NyxString& other, bool caseSensitive = true) const;
    bool IsNotEqualTo(const char* text, bool caseSensitive = true) const { return !IsEqualTo(text, caseSensitive); }
    bool IsNotEqualTo(const NyxString& other, bool caseSensitive = true) const { return !IsEqualTo(other, caseSensitive); }
    bool operator==(const char* text) const { return IsEqualTo(text, true); }
    bool operator==(const NyxString& other) const { return IsEqualTo(other, true); }
    bool operator!=(const char* text) const { return !IsEqualTo(text, true); }
    bool operator!=(const NyxString& other) const { return !IsEqualTo(other, true); }
    bool operator<(const char* text) const { return Compare(text, true) < 0; }
    bool operator<(const NyxString& other) const { return Compare(other, true) < 0; }
    bool operator<=(const char* text) const { return Compare(text, true) < 1; }
    bool operator<=(const NyxString& other) const { return Compare(other, true) < 1; }
    bool operator>(const char* text) const { return Compare(text, true) > 0; }
    bool operator>(const NyxString& other) const { return Compare(other, true) > 0; }
    bool operator>=(const char* text) const { return Compare(text, true) >= 0; }
    bool operator>=(const NyxString& other) const { return Compare(other, true) >= 0; }

    // Searching; positions are 0xFFFFFFFF when nothing is found.
    unsigned FindFirst(const char* what, unsigned start = 0, bool caseSensitive = true) const;
    unsigned FindFirst(const NyxString& what, unsigned start = 0, bool caseSensitive = true) const;
    unsigned FindLast(const char* what, bool caseSensitive = true) const;
    unsigned FindLast(const NyxString& what, bool caseSensitive = true) const;
    unsigned FindCount(const char* what, bool caseSensitive = true) const;
    unsigned FindCount(const NyxString& what, bool caseSensitive = true) const;
    bool ReplaceFirst(const char* from, const char* to, bool caseSensitive = true);
    bool ReplaceFirst(const NyxString& from, const NyxString& to, bool caseSensitive = true);
    unsigned ReplaceAll(const char* from, const char* to, bool caseSensitive = true);
    unsigned ReplaceAll(const NyxString& from, const NyxString& to, bool caseSensitive = true);
    bool StartsWith(const char* text, bool caseSensitive = true) const;
    bool StartsWith(const NyxString& text, bool caseSensitive = true) const;
    bool EndsWith(const char* text, bool caseSensitive = true) const;
    bool EndsWith(const NyxString& text, bool caseSensitive = true) const;

    // Wildcard match: '*' any run, '?' one byte. flags is unused.
    bool Match(const NyxString& pattern, int flags = 0) const;
    bool Match(const NyxString& pattern, NyxVector<NyxString>& groups, int flags = 0) const;
    bool Match(const char* pattern, int flags = 0) const;
    bool Match(const char* pattern, NyxVector<NyxString>& groups, int flags = 0) const;
    bool MatchNoCase(const NyxString& pattern, int flags = 0) const;
    bool MatchNoCase(const NyxString& pattern, NyxVector<NyxString>& groups, int flags = 0) const;
    bool MatchNoCase(const char* pattern, int flags = 0) const;
    bool MatchNoCase(const char* pattern, NyxVector<NyxString>& groups, int flags = 0) const;

    // Formatting: the result replaces the content. Conversions are those of
    // printf, plus %S for a pointer to a NyxString.
    void Printf(const char* format, ...);
    void VPrintf(const char* format, va_list arguments);
    void VPrintf(const NyxString& format, va_list arguments);

private:
    void Grow(unsigned needed);
    void AppendBytesSlow(const char* data, std::size_t size);
    void AppendRepeated(char c, unsigned count);
    void SetSizeInternal(unsigned size);
    bool MatchImpl(const char* pattern, bool caseSensitive) const;

    static constexpr unsigned kInline = 15;  // bytes held without a heap block

    char* Buffer;                    // never null; NUL-terminated
    unsigned Capacity;               // bytes available, terminator excluded
    unsigned Length;                 // characters; equals Size
    unsigned Size;                   // bytes, terminator excluded
    char Inline[kInline + 1];
};

// Case-insensitive ASCII comparison in the manner of _stricmp.
int NyxStrICmp(const char* a, const char* b);
