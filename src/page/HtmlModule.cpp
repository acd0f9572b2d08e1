// VexlPage and the html module: user-defined tags get the page's objects as
// a script value made by the module's entry point HtmlFileToVariable.
#include "outside/foundation/Modules.h"
#include "outside/quince/FunctionModule.h"
#include "page/VexlPage.h"

bool VexlPage::LoadHtmlModule() {
    void* handle = nullptr;
    Context->LoadFunctionModule("html.qnc", NyxString(), &handle);
    if (handle == nullptr) return false;
    HtmlFileToVariableFn = reinterpret_cast<HtmlFileToVariableFunction>(ModuleSymbol(handle, "HtmlFileToVariable"));
    return HtmlFileToVariableFn != nullptr;
}

Variable* VexlPage::GetHtmlFileVariable() {
    if (HtmlFileToVariableFn == nullptr && !LoadHtmlModule()) return nullptr;
    FunctionModuleCall call{Context, nullptr, 0, NyxString()};
    return HtmlFileToVariableFn(&call, HtmlList);
}
