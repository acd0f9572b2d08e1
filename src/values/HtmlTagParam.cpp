// HtmlTagParam: one parameter of a tag and its rendering.
#include "values/HtmlTagParam.h"

HtmlTagParam::HtmlTagParam(const NyxString& name, const NyxString& value, wchar_t quote)
    : Name(name), Value(value), Quote(quote) {}

HtmlTagParam::HtmlTagParam(std::string_view name, std::string_view value, wchar_t quote, ValueForm form)
    : Name(name), Value(value), Quote(quote), Form(form) {}

HtmlTagParam::HtmlTagParam(HtmlTagParam& other) : HtmlTagParam(static_cast<const HtmlTagParam&>(other)) {}

HtmlTagParam::HtmlTagParam(const HtmlTagParam& other)
    : Name(other.Name), Value(other.Value), Quote(other.Quote), Form(other.Form) {}

HtmlTagParam& HtmlTagParam::operator=(const HtmlTagParam& other) {
    Name = other.Name;
    Value = other.Value;
    Quote = other.Quote;
    Form = other.Form;
    return *this;
}

HtmlTagParam::~HtmlTagParam() = default;

void HtmlTagParam::operator delete(HtmlTagParam* param, std::destroying_delete_t) {
    const bool inArena = param->InArena;
    param->~HtmlTagParam();
    if (!inArena) ::operator delete(param);
}

NyxString HtmlTagParam::Output() const {
    NyxString out;
    AppendOutputTo(out);
    return out;
}

void HtmlTagParam::AppendOutputTo(NyxString& out) const { AppendOutputTo(out, Name.View(), Value.View(), Quote, Form); }

void HtmlTagParam::AppendOutputTo(NyxString& out, std::string_view name, std::string_view value, wchar_t quote,
                                  ValueForm form) {
    // A value given later to a bare parameter (an evaluated copy) is rendered
    // like any other value.
    if (form == ValueForm::Bare && value.empty()) {
        out.Append(' ');
        out.AppendBytes(name.data(), name.size());
        return;
    }
    const char mark = quote == L'\'' ? '\'' : '"';
    out.Reserve(out.GetSize() + static_cast<unsigned>(name.size() + value.size()) + 4);
    out.Append(' ');
    out.AppendBytes(name.data(), name.size());
    out.Append('=');
    out.Append(mark);
    out.AppendBytes(value.data(), value.size());
    out.Append(mark);
}
