// HtmlTagParam: one parameter of a tag: its name, its value without quotes,
// and how the source wrote it, so that Output() can render it again.
#pragma once

#include <new>
#include <string_view>

#include "values/NyxString.h"

class HtmlTagParam {
public:
    // How the value was written; decides the rendering of Output().
    enum class ValueForm : unsigned char {
        Quoted,  // name="value" (double or single quotes, by the quote character), or unquoted
        Bare,    // a name without '=' and without value: rendered as the bare name while the value is empty
    };

    // Quote character '\'' keeps single quotes; any other (0 for every
    // parameter the system makes, '"') renders in double quotes.
    HtmlTagParam(const NyxString& name, const NyxString& value, wchar_t quote);
    // The parser's form: no temporaries.
    HtmlTagParam(std::string_view name, std::string_view value, wchar_t quote, ValueForm form);
    HtmlTagParam(HtmlTagParam& other);
    HtmlTagParam(const HtmlTagParam& other);
    HtmlTagParam& operator=(const HtmlTagParam& other);
    virtual ~HtmlTagParam();

    // `delete` works on every parameter: one that the parser placed in its
    // page's arena is destroyed and its memory left to the arena.
    static void operator delete(HtmlTagParam* param, std::destroying_delete_t);

    NyxString& GetName() { return Name; }
    NyxString& GetValue() { return Value; }
    const NyxString& GetName() const { return Name; }
    const NyxString& GetValue() const { return Value; }
    wchar_t GetQuote() const { return Quote; }
    ValueForm GetValueForm() const { return Form; }

    // " name=\"value\"", " name='value'" or " name": with its leading blank,
    // nothing escaped.
    NyxString Output() const;
    void AppendOutputTo(NyxString& out) const;
    // The same for a parameter known only by its parts.
    static void AppendOutputTo(NyxString& out, std::string_view name, std::string_view value, wchar_t quote,
                               ValueForm form);

    // A value written "(...)": an expression that the walk evaluates.
    static bool IsExpressionForm(std::string_view value) {
        return value.size() >= 2 && value.front() == '(' && value.back() == ')';
    }

private:
    friend class HtmlObjectArena;

    NyxString Name;
    NyxString Value;
    wchar_t Quote;
    ValueForm Form = ValueForm::Quoted;
    bool InArena = false;  // set only by HtmlObjectArena::Make; never copied
};
