// VexlPage pre-page scripts: the script that the configuration names under
// "Preload" runs before the page; its "main" runs once and is then removed.
#include "foundation/IniFile.h"
#include "foundation/Paths.h"
#include "page/VexlPage.h"
#include "values/PathParser.h"

void VexlPage::ProcessPrePostScripts(const NyxString& key) {
    NyxString value;
    Context->GetConfig().GetEntryValue("QuinceConfig", key, value, "");
    if (value.IsEmpty()) return;

    NyxString directories(".;");
    const PathParser pageFolder(HtmlList->GetFilePath());
    directories += pageFolder.GetDrive() + pageFolder.GetDir() + ";";
    const NyxString iniPath = Context->GetIniPath();
    if (iniPath.IsNotEmpty()) {
        const PathParser iniFolder(iniPath);
        directories += iniFolder.GetDrive() + iniFolder.GetDir() + ";";
    }
    const NyxString exePath = Context->GetExePath();
    if (exePath.IsNotEmpty()) {
        const PathParser exeFolder(exePath);
        directories += exeFolder.GetDrive() + exeFolder.GetDir() + ";";
    }

    NyxString script = PathSearch(directories, value);
    if (script.IsEmpty()) script = value;
    if (Context->CompileScriptFile(script) == 0) return;
    if (Context->Procedures.FindProcedure("main") == 0) return;
    Context->RunProcedure("main", nullptr);
    Context->Procedures.DeleteProcedure("main");
}
