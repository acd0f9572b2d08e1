// HtmlModule: the entry points of html.qnc. The page calls
// HtmlFileToVariable for user-defined tags; the script engine calls
// QuinceModuleInit once after loading the module.
#include "html_module/HtmlFunctions.h"
#include "html_module/HtmlPageVariable.h"
#include "quince/FunctionModule.h"
#include "values/HtmlObjectList.h"

// A new variable holding a copy of the page's objects, which the caller
// owns; null without a list or when memory runs out.
extern "C" __attribute__((visibility("default"))) Variable* HtmlFileToVariable(FunctionModuleCall* call,
                                                                                 HtmlObjectList* list) {
    (void)call;  // the page passes its context; the copy needs nothing of it
    if (list == nullptr) return nullptr;
    return HtmlPageVariable::FromList(*list, NyxString());
}

// Registers the html_* functions; 0 (the module is then unloaded) only if
// one of them cannot be registered.
extern "C" __attribute__((visibility("default"))) int QuinceModuleInit(QuinceContext* context) {
    return HtmlFunctions::RegisterAll(context) ? 1 : 0;
}
