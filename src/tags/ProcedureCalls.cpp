// VexlBase::RunQuinceProcedure: runs a compiled procedure; with parseOutput
// what it prints is captured and walked as a page of its own.
#include "foundation/Files.h"
#include "quince/QuinceContext.h"
#include "page/VexlPage.h"
#include "tags/VexlBase.h"

int VexlBase::RunQuinceProcedure(const NyxString& name, Stack* arguments, int parseOutput) {
    QuinceContext* context = Page->Context;
    NyxString capture;
    if (parseOutput != 0) {
        context->FlushOutput();
        context->SetOutput(&capture);
    }
    int result = context->RunProcedure(name, arguments);
    if (parseOutput != 0) {
        context->FlushOutput();
        context->SetOutput(Page->Output);
        const NyxString path = CreateTempFile();
        Page->TempFiles.PushBack(path);
        int handle = FileOpen(path, 1);
        if (handle == -1) handle = FileCreate(path, 0);
        if (handle == -1) return 0;
        FileSeekEnd(handle);
        FileWrite(handle, capture.GetString(), capture.GetSize());
        FileClose(handle);
        WalkFileOnChildPage(path);
    }
    if (result != 0 && context->RunFailed != 0) result = 0;
    return result;
}
