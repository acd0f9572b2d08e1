// VexlPage and the html module: user-defined tags get the page's objects as
// a script value made by the module's entry point HtmlFileToVariable.
#include <atomic>
#include <cstdio>

#include "foundation/Modules.h"
#include "quince/FunctionModule.h"
#include "page/VexlPage.h"

bool VexlPage::LoadHtmlModule() {
    void* handle = nullptr;
    Context->LoadFunctionModule("html.qnc", NyxString(), &handle);
    if (handle == nullptr) {
        // The page gets its fixed message. When no ModulePath sent the search
        // elsewhere, the installation is broken: whoever runs the server
        // learns from its error log, once, which file is missing and where it
        // was sought.
        static std::atomic<bool> told{false};
        bool usual = false;
        const NyxString folders = Context->GetModuleSearchPath(NyxString(), &usual);
        if (!usual || told.exchange(true)) return false;
        std::fprintf(stderr, "vexl: module html.qnc not found or not loadable; looked in: %s\n",
                     folders.GetString());
        return false;
    }
    HtmlFileToVariableFn = reinterpret_cast<HtmlFileToVariableFunction>(ModuleSymbol(handle, "HtmlFileToVariable"));
    return HtmlFileToVariableFn != nullptr;
}

Variable* VexlPage::GetHtmlFileVariable() {
    if (HtmlFileToVariableFn == nullptr && !LoadHtmlModule()) return nullptr;
    FunctionModuleCall call{Context, nullptr, 0, NyxString()};
    return HtmlFileToVariableFn(&call, HtmlList);
}
