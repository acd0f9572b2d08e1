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

void HtmlTagParam::AppendOutputTo(NyxString& out) const {
    // A value given later to a bare parameter (an evaluated copy) is rendered
    // like any other value.
    if (Form == ValueForm::Bare && Value.IsEmpty()) {
        out.Append(' ');
        out.AppendBytes(Name.GetString(), Name.GetSize());
        return;
    }
    const char quote = Quote == L'\'' ? '\'' : '"';
    out.Reserve(out.GetSize() + Name.GetSize() + Value.GetSize() + 4);
    out.Append(' ');
    out.AppendBytes(Name.GetString(), Name.GetSize());
    out.Append('=');
    out.Append(quote);
    out.AppendBytes(Value.GetString(), Value.GetSize());
    out.Append(quote);
}
