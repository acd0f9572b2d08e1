// VexlInclude: the file parameter is `file`, `htmlfile` or `_htmlfile`; a
// relative path counts from the folder of the including file.
#include "blocks/VexlInclude.h"

#include <cstdio>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "page/VexlPage.h"
#include "tags/VexlParse.h"

NyxString VexlInclude::BuildPath(const NyxString& value) const {
    const bool absolute = (value.GetLength() >= 1 && value[0] == '\\') ||
                          (value.GetLength() >= 3 && value[1] == ':' && (value[2] == '\\' || value[2] == '/'));
    if (absolute) return value;
    NyxString path = Page->HtmlList->GetFilePath();
    unsigned separator = path.FindLast("/");
    if (separator == NyxString::kAll) separator = path.FindLast("\\");
    if (separator == NyxString::kAll) return value;
    path.SetLength(separator + 1);
    path += value;
    return path;
}

int VexlInclude::Start(int index, HtmlObject*) {
    HtmlObject* tag = Page->HtmlList->GetEntry(index);
    // A false condition skips the tag, and the walk goes on behind it.
    if (tag->FindEntry("condition") != 0 && EvaluateCondition(tag->GetStrValue("condition")) == 0) return index;

    int fileIndex = tag->FindEntry("file");
    if (fileIndex == 0) fileIndex = tag->FindEntry("htmlfile");
    if (fileIndex == 0) fileIndex = tag->FindEntry("_htmlfile");
    if (fileIndex == 0) {
        Page->ErrorOutput(tag->GetLineNum(), "<p>INCLUDE tag does not have 'htmlfile' parameter.</p>\n");
        return -1;
    }
    HtmlTagParam* file = EvaluateTagParam(tag->GetEntry(fileIndex));
    const NyxString path = BuildPath(file->GetValue());
    delete file;

    NyxString message;
    const NyxString shownPath = Page->Shown(path);
    // One look at the file: a file that exists always has a type in its mode.
    const unsigned mode = FileGetMode(path);
    if (mode == 0) {
        message.Printf("<P>INCLUDE tag cannot find file '%S'.</P>\n", &shownPath);
        Page->ErrorOutput(tag->GetLineNum(), "%S", &message);
        return -1;
    }
    if ((mode & 0x8000u) == 0) {
        message.Printf("<P>INCLUDE tag path '%S' is not a regular file.</P>\n", &shownPath);
        Page->ErrorOutput(tag->GetLineNum(), "%S", &message);
        return -1;
    }
    if (!Page->Confinement->Admits(path)) {
        message.Printf("<P>INCLUDE tag path '%S' lies outside the site (QuinceConfig ConfineFiles).</P>\n", &shownPath);
        Page->ErrorOutput(tag->GetLineNum(), "%S", &message);
        return -1;
    }
    if (tag->GetIntValue("onceonly") != 0) {
        const NyxString fullPath = CompletePath(path);
        for (unsigned i = 0; i < Page->IncludedFiles.Size(); ++i) {
            if (Page->IncludedFiles[i].IsEqualTo(fullPath, false)) return index;
        }
        Page->IncludedFiles.PushBack(fullPath);
    }

    HtmlObjectList* outer = Page->HtmlList;
    Page->HtmlList = nullptr;
    Page->SetFile(path);
    int result = index;
    {
        VexlParse walker(Page);
        if (walker.Start(0, nullptr) == -1) {
            result = -1;
            std::fflush(stdout);
            std::printf("Failed to parse %s", path.GetString());
            std::fflush(stdout);
        }
    }
    Page->ReleaseList(Page->HtmlList);
    Page->HtmlList = outer;
    return result;
}
