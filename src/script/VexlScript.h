// VexlScript: SCRIPT elements. Quince runs in the page's context, a
// configured foreign language runs in a child process, and anything else
// passes through to the browser.
#pragma once

#include "tags/VexlBase.h"

class VexlScript : public VexlBase {
public:
    explicit VexlScript(VexlPage* page);
    int Start(int index, HtmlObject* stop) override;

    NyxString FileStem;  // the page file's name without folder and extension

private:
    int ExecuteQuinceFile(HtmlObject* tag);
    int ExecuteQuinceBuffer(HtmlObject* tag, int index);
    void ExecuteNonQuinceScript(NyxString& interpreter, HtmlObject* tag, int index);
    NyxString ExecuteScriptFile(NyxString& interpreter, const NyxString& script);
    NyxString ExecuteScriptBuffer(NyxString& interpreter, HtmlObject* tag, int index);

    unsigned TimeLimitSeconds = 0;  // 0: wait for the interpreter without limit
    bool TimedOut = false;          // the last interpreter run was stopped
    bool StoppedByRequestClock = false;  // ... by the request's time (MaxRunSeconds), not its own limit
};
