// VexlBase::SynthesizeProcedure: a run of statements in the page becomes a
// named procedure, compiled once; the tag in the list remembers the name.
#include "quince/Engine.h"
#include "quince/QuinceContext.h"
#include "page/VexlPage.h"
#include "tags/VexlBase.h"

int VexlBase::SynthesizeProcedure(int index, const NyxString& source, const NyxString& name, const char* parameter,
                                  unsigned line) {
    NyxString text("proc ");
    text += name;
    text += " ()\n";
    text += NyxString(quince::TrimTrailingSpace(source.View()));
    text += "\nendproc\n";
    if (Page->Context->CompileScriptBuffer(text, Page->HtmlList->GetFilePath(), line) == 0) return 0;
    auto* copy = new HtmlObject(*Page->HtmlList->GetEntry(index));
    copy->AddEntry(new HtmlTagParam(parameter, name, 0));
    Page->HtmlList->ReplaceEntry(index, copy);
    return 1;
}
