// VexlPage temporary files: registered paths are deleted at the end of the
// request, last to first.
#include "foundation/Files.h"
#include "page/VexlPage.h"

void VexlPage::DeleteTempFiles() {
    while (!TempFiles.IsEmpty()) {
        const unsigned last = TempFiles.Size() - 1;
        FileDelete(TempFiles[last], 0);
        TempFiles.Remove(last);
    }
}
