// VexlBase tag evaluation: a parameter whose value is "(expression)" is
// replaced by the expression's value as text; everything else is copied.
#include <charconv>
#include <cmath>
#include <cstdint>

#include "quince/ExpressionCompiler.h"
#include "page/VexlPage.h"
#include "tags/VexlBase.h"
#include "values/Variable.h"

namespace {

// A float truncated towards zero into 32 bits, as the processor's truncating
// conversion does: a value outside the range, or NaN, gives 0x80000000.
uint32_t TruncateToBits32(float value) {
    if (!(value > -2147483649.0f && value < 2147483648.0f)) return 0x80000000u;
    return static_cast<uint32_t>(static_cast<int32_t>(value));
}

// What Printf("%lu") gives for the float's bits as an integer, without a
// format to interpret on every visit.
void AppendFloatAsInteger(float value, NyxString& text) {
    char digits[16];
    const char* end = std::to_chars(digits, digits + sizeof digits, TruncateToBits32(value)).ptr;
    text.AppendBytes(digits, static_cast<std::size_t>(end - digits));
}

}  // namespace

bool VexlBase::HasExpressionForm(const NyxString& value) { return HtmlTagParam::IsExpressionForm(value.View()); }

int VexlBase::CanEvaluateTag(HtmlObject* tag) {
    const int count = static_cast<int>(tag->GetCount());
    for (int i = 1; i <= count; ++i) {
        if (HasExpressionForm(tag->GetEntry(i)->GetValue())) return 1;
    }
    return 0;
}

HtmlObject* VexlBase::EvaluateTag(HtmlObject* tag) {
    auto* copy = new HtmlObject(*tag);
    while (copy->GetCount() != 0) copy->DeleteEntry(1);
    const int count = static_cast<int>(tag->GetCount());
    for (int i = 1; i <= count; ++i) copy->AddEntry(EvaluateTagParam(tag->GetEntry(i)));
    return copy;
}

HtmlTagParam* VexlBase::EvaluateTagParam(HtmlTagParam* param) {
    NyxString text;
    if (!EvaluateParamText(param->GetValue(), text)) return new HtmlTagParam(*param);
    return new HtmlTagParam(param->GetName(), text, 0);
}

bool VexlBase::EvaluateParamText(const NyxString& expression, NyxString& text) {
    if (!HasExpressionForm(expression)) return false;
    text.Clear();
    ExpressionCompiler compiler(Page->Context);
    if (compiler.CompileExpression(expression, NyxString()) == 0) return true;
    // Read in place, as a popped Variable would be read: no Variable per visit.
    AppendValueText(compiler.EvaluateExpressionView(), text);
    return true;
}

void VexlBase::AppendValueText(Variable* value, NyxString& text) {
    if (value == nullptr) return;
    switch (value->GetTypeId()) {
    case Variable::TypeString:
        // Every byte of the string, a NUL from a request among them.
        text.AppendBytes(value->GetStringValue(), value->GetLength());
        break;
    case Variable::TypeFloat: {
        NyxString digits;
        digits.Printf("%f", static_cast<double>(value->GetFloatValue()));
        text += digits;
        break;
    }
    default:
        AppendFloatAsInteger(value->GetFloatValue(), text);
        break;
    }
}

void VexlBase::AppendIntegerText(int32_t value, NyxString& text) {
    AppendFloatAsInteger(static_cast<float>(value), text);
}
