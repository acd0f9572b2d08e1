// VexlPage::CreateOneVariable: the request's values enter the script context
// as typed variables, by a type mark at the end of the name or by the look
// of the value.
#include <cerrno>
#include <cctype>
#include <climits>
#include <cstdint>
#include <cstdlib>

#include "page/Contained.h"
#include "page/VexlPage.h"
#include "values/VarBoolean.h"
#include "values/VarChar.h"
#include "values/VarDouble.h"
#include "values/VarFloat.h"
#include "values/VarInteger.h"
#include "values/VarString.h"

const NyxString VexlPage::HTTP_DOCUMENT_ROOT("HTTP_DOCUMENT_ROOT.s");
const NyxString VexlPage::HTTP_REMOTE_ADDR("HTTP_REMOTE_ADDR.s");
const NyxString VexlPage::HTTP_REMOTE_HOST("HTTP_REMOTE_HOST.s");
const NyxString VexlPage::HTTP_REMOTE_PASSWORD("HTTP_REMOTE_PASSWORD.s");
const NyxString VexlPage::HTTP_REMOTE_USER("HTTP_REMOTE_USER.s");
const NyxString VexlPage::HTTP_SCRIPT_FILE("HTTP_SCRIPT_FILE.s");
const NyxString VexlPage::HTTP_SCRIPT_NAME("HTTP_SCRIPT_NAME.s");
const NyxString VexlPage::HTTP_SERVER_NAME("HTTP_SERVER_NAME.s");
const NyxString VexlPage::HTTP_URL("HTTP_URL.s");
const NyxString VexlPage::HTTP_USER_AGENT("HTTP_USER_AGENT.s");
const NyxString VexlPage::SESSIONID_NAME("HTTP_SESSION_ID");

namespace {

// strtol with base 0, clamped to the signed 32-bit range, as on a platform
// whose long has 32 bits. `end` is where the parse stopped.
int32_t ParseInteger32(const char* text, const char** end, bool* outOfRange) {
    errno = 0;
    char* stop = nullptr;
    const long long value = std::strtoll(text, &stop, 0);
    *end = stop;
    *outOfRange = errno == ERANGE || value > INT32_MAX || value < INT32_MIN;
    if (value > INT32_MAX || (errno == ERANGE && value > 0)) return INT32_MAX;
    if (value < INT32_MIN || (errno == ERANGE && value < 0)) return INT32_MIN;
    return static_cast<int32_t>(value);
}

// strtoul with base 0 on 32 bits: a sign is allowed and negates the
// magnitude modulo 2^32; a magnitude above 32 bits is a range error.
bool ParseUnsigned32Whole(const char* text, uint32_t* result) {
    const char* p = text;
    while (std::isspace(static_cast<unsigned char>(*p))) ++p;
    bool negative = false;
    if (*p == '+' || *p == '-') negative = *p++ == '-';
    if (!std::isalnum(static_cast<unsigned char>(*p))) return false;
    errno = 0;
    char* stop = nullptr;
    const unsigned long long magnitude = std::strtoull(p, &stop, 0);
    if (stop == p || *stop != '\0' || errno != 0 || magnitude > UINT32_MAX) return false;
    const auto value = static_cast<uint32_t>(magnitude);
    *result = negative ? static_cast<uint32_t>(0u - value) : value;
    return true;
}

// Plain decimal notation only: "nan", "inf" and hexadecimal floats in a form
// field stay text (a person called Nan keeps her name).
bool LooksDecimal(const char* text) {
    const char* p = text;
    while (std::isspace(static_cast<unsigned char>(*p))) ++p;
    if (*p == '+' || *p == '-') ++p;
    if (*p == '0' && (p[1] == 'x' || p[1] == 'X')) return false;
    return std::isdigit(static_cast<unsigned char>(*p)) || (*p == '.' && std::isdigit(static_cast<unsigned char>(p[1])));
}

Variable* MakeMarkedVariable(char mark, const NyxString& value) {
    const char* text = value.GetString();
    const char* end = nullptr;
    bool outOfRange = false;
    switch (mark) {
    case 'b': {
        auto* variable = new VarBoolean();
        variable->SetBoolValue(ParseInteger32(text, &end, &outOfRange));
        return variable;
    }
    case 'c': {
        auto* variable = new VarChar();
        variable->SetCharValue(static_cast<char>(ParseInteger32(text, &end, &outOfRange) & 0xFF));
        return variable;
    }
    case 'd': {
        auto* variable = new VarDouble();
        variable->SetDoubleValue(std::atof(text));
        return variable;
    }
    case 'f': {
        auto* variable = new VarFloat();
        variable->SetFloatValue(static_cast<float>(std::atof(text)));
        return variable;
    }
    case 'i': {
        auto* variable = new VarInteger();
        variable->SetIntegerValue(ParseInteger32(text, &end, &outOfRange));
        return variable;
    }
    case 's': {
        auto* variable = new VarString();
        variable->SetStringValue(value);
        return variable;
    }
    default:
        return nullptr;
    }
}

Variable* MakeVariableByLook(const NyxString& value) {
    const char* text = value.GetString();
    if (value.IsNotEmpty()) {
        const char* end = nullptr;
        bool outOfRange = false;
        const int32_t number = ParseInteger32(text, &end, &outOfRange);
        if (*end == '\0' && end != text && !outOfRange) {
            auto* variable = new VarInteger();
            variable->SetIntegerValue(number);
            return variable;
        }
        uint32_t pattern = 0;
        if (ParseUnsigned32Whole(text, &pattern)) {
            auto* variable = new VarInteger();
            variable->SetIntegerValue(static_cast<int32_t>(pattern));
            return variable;
        }
        if (LooksDecimal(text)) {
            errno = 0;
            char* stop = nullptr;
            const double real = std::strtod(text, &stop);
            if (*stop == '\0' && stop != text && errno == 0) {
                auto* variable = new VarDouble();
                variable->SetDoubleValue(real);
                return variable;
            }
        }
    }
    auto* variable = new VarString();
    variable->SetStringValue(value);
    return variable;
}

}  // namespace

void VexlPage::CreateOneVariable(const NyxString& name, const NyxString& value,
                                 QuinceContext::enum_VarListType list) {
    Contained([&] { AddRequestVariable(name, value, list); });
}

void VexlPage::AddRequestVariable(const NyxString& name, const NyxString& value,
                                  QuinceContext::enum_VarListType list) {
    const unsigned length = name.GetLength();
    const bool marked = length >= 3 && name[length - 2] == '.';
    Variable* variable = nullptr;
    if (marked) {
        variable = MakeMarkedVariable(name[length - 1], value);
        // A letter that is no mark: the name is taken as one without a mark.
        if (variable == nullptr) {
            variable = MakeVariableByLook(value);
            variable->SetVarName(name);
        } else {
            variable->SetVarName(name.GetSubstring(0, length - 2));
        }
    } else {
        variable = MakeVariableByLook(value);
        variable->SetVarName(name);
    }

    const int found = Context->FindVariable(name, list);
    if (variable->GetTypeId() == Variable::TypeString && found != -1) {
        Variable* existing = Context->GetVariable(name, list);
        NyxString text(existing != nullptr ? existing->GetStringValue() : "");
        if (text.IsNotEmpty()) {
            text += "\n";
            text += value;
            existing->SetStringValue(text);
        }
        delete variable;
    } else if (found == -1) {
        Context->AddVariable(variable, list);
    } else {
        delete variable;
    }
}
