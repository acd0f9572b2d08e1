// VarString: a text value. Numeric getters read the text's leading number;
// numeric setters store the number's text.
#include "values/VarString.h"

#include <cstring>
#include <new>

#include "values/VarConversions.h"

namespace {

// The most bytes a string variable holds; beyond it appends are refused, so
// the length arithmetic stays within 32 bits.
constexpr unsigned kMaxTextLength = 0x7FFFFFFFu;

unsigned CountOf(const char* text, unsigned count) {
    if (text == nullptr) return 0;
    if (count == NyxString::kAll) {
        const std::size_t length = std::strlen(text);
        return length > kMaxTextLength ? kMaxTextLength : static_cast<unsigned>(length);
    }
    return count;
}

}  // namespace

VarString::VarString(const NyxString& name, unsigned flags)
    : Variable(TypeString, name, flags), Text(new char[1]), TextLength(0), TextCapacity(0) {
    Text[0] = '\0';
}

VarString::VarString(const VarString& other)
    : Variable(other), Text(new char[other.TextLength + 1]), TextLength(other.TextLength), TextCapacity(other.TextLength) {
    std::memcpy(Text, other.Text, TextLength + 1);
}

VarString::~VarString() { delete[] Text; }

VarString& VarString::operator=(const VarString& other) {
    Variable::operator=(other);
    if (this != &other) SetStringValue(other.Text, other.TextLength);
    return *this;
}

Variable* VarString::Clone() const { return new (std::nothrow) VarString(*this); }

// `text` may point into this string's own text, so nothing is freed before
// the bytes are copied.
void VarString::SetStringValue(const char* text, unsigned count) {
    count = CountOf(text, count);
    if (count > TextCapacity) {
        if (count > kMaxTextLength) return;
        char* fresh = new (std::nothrow) char[count + 1];
        if (fresh == nullptr) return;
        std::memcpy(fresh, text, count);
        delete[] Text;
        Text = fresh;
        TextCapacity = count;
    } else if (count > 0) {
        std::memmove(Text, text, count);
    }
    TextLength = count;
    Text[count] = '\0';
}

void VarString::SetStringValue(const NyxString& text) { SetStringValue(text.GetString(), text.GetSize()); }

void VarString::AppendString(const char* text, unsigned count) {
    count = CountOf(text, count);
    if (count == 0 || count > kMaxTextLength - TextLength) return;
    const unsigned needed = TextLength + count;
    if (needed > TextCapacity) {
        // Copy by hand rather than through Reserve: `text` may lie in the old block.
        unsigned capacity = TextCapacity > kMaxTextLength / 2 ? kMaxTextLength : TextCapacity * 2;
        if (capacity < needed) capacity = needed;
        char* fresh = new (std::nothrow) char[capacity + 1];
        if (fresh == nullptr) return;
        std::memcpy(fresh, Text, TextLength);
        std::memcpy(fresh + TextLength, text, count);
        delete[] Text;
        Text = fresh;
        TextCapacity = capacity;
    } else {
        std::memmove(Text + TextLength, text, count);
    }
    TextLength = needed;
    Text[TextLength] = '\0';
}

void VarString::SetBoolValue(int value) { SetStringValue(value != 0 ? "true" : "false", NyxString::kAll); }

void VarString::SetCharValue(char value) { SetStringValue(&value, 1); }

void VarString::SetIntegerValue(long value) {
    NyxString text;
    VarConversions::AppendInteger(text, value);
    SetStringValue(text);
}

void VarString::SetFloatValue(float value) {
    NyxString text;
    VarConversions::AppendFloat(text, value);
    SetStringValue(text);
}

void VarString::SetDoubleValue(double value) {
    NyxString text;
    VarConversions::AppendDouble(text, value);
    SetStringValue(text);
}

// "true" and "false", the texts that a bool becomes, read back as 1 and 0;
// any other text gives its leading number.
int VarString::GetBoolValue() const {
    const char* text = GetStringValue();
    if (std::strcmp(text, "true") == 0) return 1;
    if (std::strcmp(text, "false") == 0) return 0;
    return VarConversions::ParseInteger(text);
}

// A char's text is that character, so the first byte is the char of a text.
char VarString::GetCharValue() const { return GetStringValue()[0]; }
long VarString::GetIntegerValue() const { return VarConversions::ParseInteger(GetStringValue()); }
float VarString::GetFloatValue() const { return VarConversions::NarrowToFloat(GetDoubleValue()); }
double VarString::GetDoubleValue() const { return VarConversions::ParseDouble(GetStringValue()); }
const char* VarString::GetStringValue() const { return Text; }
unsigned VarString::GetLength() { return TextLength; }

int VarString::IsCompatibleWith(const Variable* other) const {
    if (other == nullptr) return 0;
    return IsScalarTypeId(other->GetTypeId()) || other->IsArray() ? 1 : 0;
}

// Any value with a text form can be assigned: numbers and bools become their
// text, an array its bracketed list.
int VarString::Assign(Variable* value) {
    if (value == nullptr) return 0;
    if (value == this || value->Dereference() == this) return 1;
    const enum_TypeId type = value->GetTypeId();
    if (type == TypeString) {
        SetStringValue(value->GetStringValue(), value->GetLength());
        return 1;
    }
    if (!IsScalarTypeId(type) && !value->IsArray()) return 0;
    NyxString text;
    value->AppendText(text);
    SetStringValue(text);
    return 1;
}

void VarString::DumpValue(NyxString& output, const NyxString& prefix) const {
    output += prefix;
    output.Append('"', 1);
    AppendText(output);
    output.Append('"', 1);
}

void VarString::DumpType(NyxString& output, const NyxString& prefix, int) const {
    output += prefix;
    output += "string";
}

void VarString::AppendText(NyxString& output) const { output.AppendBytes(Text, TextLength); }
