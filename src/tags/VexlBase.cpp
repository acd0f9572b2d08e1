// VexlBase: what every handler shares: temporary files, URLs, child pages
// and the page file's stem.
#include "tags/VexlBase.h"

#include "outside/foundation/Files.h"
#include "outside/foundation/Paths.h"
#include "page/VexlPage.h"
#include "tags/VexlParse.h"

int VexlBase::Start(int, HtmlObject*) { return -1; }

NyxString VexlBase::CreateTempFile() {
    const NyxString path = GetTemporaryFilePath("vexl");
    FileClose(FileCreate(path, 0));
    return path;
}

NyxString VexlBase::ChangeURL(const NyxString& url) { return url; }

void VexlBase::WalkFileOnChildPage(const NyxString& path) {
    VexlPage child(*Page);
    child.SetFile(path);
    VexlParse walker(&child);
    walker.Start(0, nullptr);
}

NyxString VexlBase::PageFileStem() const {
    const NyxString path = Page->HtmlList->GetFilePath();
    NyxString stem;
    unsigned separator = path.FindLast("/", false);
    if (separator == NyxString::kAll) separator = path.FindLast("\\", false);
    if (separator != NyxString::kAll) stem = path.GetSubstring(separator + 1);
    if (stem.IsNotEmpty()) {
        const unsigned dot = stem.FindLast(".");
        if (dot != NyxString::kAll) stem.SetLength(dot);
    }
    return stem;
}
