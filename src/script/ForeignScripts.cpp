// VexlScript foreign interpreters: the script goes to a file, the
// interpreter runs as a child process with its output in a second file, and
// that file's content comes into the page, as text or walked as a page.
#include <cstdio>
#include <cstdlib>

#include "foundation/Files.h"
#include "foundation/IniFile.h"
#include "foundation/Paths.h"
#include "foundation/Process.h"
#include "page/VexlPage.h"
#include "script/VexlScript.h"

namespace {

// Section "ScriptInterpreters": seconds an interpreter may run before it is
// killed. Absent or 0: no limit.
constexpr const char* kTimeLimitKey = "TimeLimitSeconds";
// Pieces in which the output reaches the page: at most one line and 8191 bytes.
constexpr int kReadPiece = 8192;

unsigned ReadTimeLimit(const IniFile& ini) {
    NyxString value;
    ini.GetEntryValue("ScriptInterpreters", kTimeLimitKey, value, "");
    const long seconds = std::strtol(value.GetString(), nullptr, 10);
    return seconds > 0 && seconds < 86400 ? static_cast<unsigned>(seconds) : 0;
}

}  // namespace

void VexlScript::ExecuteNonQuinceScript(NyxString& interpreter, HtmlObject* tag, int index) {
    const long parseOutput = tag->GetIntValue("parseoutput");
    TimeLimitSeconds = ReadTimeLimit(Page->Context->GetConfig());
    const NyxString output = tag->FindEntry("src") != 0 ? ExecuteScriptFile(interpreter, tag->GetStrValue("src"))
                                                        : ExecuteScriptBuffer(interpreter, tag, index);
    Page->TempFiles.PushBack(output);
    WalkBudget& walks = *Page->Walks;
    if (TimedOut && StoppedByRequestClock) {
        walks.End("MaxRunSeconds");
        Page->ErrorOutput(tag->GetLineNum(), "<P>The page ran longer than %u second%s (QuinceConfig MaxRunSeconds).</P>\n",
                          walks.SecondsAllowed, walks.SecondsAllowed == 1 ? "" : "s");
        return;
    }
    const NyxString shownInterpreter = Page->Shown(interpreter);
    if (TimedOut) {
        Page->ErrorOutput(tag->GetLineNum(), "<P>SCRIPT interpreter '%S' was stopped after %u seconds.</P>\n",
                          &shownInterpreter, TimeLimitSeconds);
        return;
    }
    // Output past the request's bound is neither read into memory nor walked.
    FileIdentity written;
    if (walks.MaxOutput != 0 && FileGetIdentity(output, written) && static_cast<uint64_t>(written.Size) > walks.MaxOutput) {
        walks.End("MaxOutputBytes");
        Page->ErrorOutput(tag->GetLineNum(), "<P>SCRIPT interpreter '%S' wrote more than %llu bytes (QuinceConfig MaxOutputBytes).</P>\n",
                          &shownInterpreter, static_cast<unsigned long long>(walks.MaxOutput));
        return;
    }
    if (parseOutput != 0) {
        WalkFileOnChildPage(output);
        return;
    }
    FILE* file = std::fopen(output.GetString(), "r");
    if (file == nullptr) return;
    char buffer[kReadPiece];
    while (!walks.Ended && std::fgets(buffer, kReadPiece, file) != nullptr) Page->AppendOutput(NyxString(buffer));
    std::fclose(file);
}

// The site's script stays as it is, mode included, and nothing is written
// beside it: the output goes to a new file of the temporary folder.
NyxString VexlScript::ExecuteScriptFile(NyxString& interpreter, const NyxString& script) {
    const NyxString output = GetTemporaryFilePath("vexl-out");
    TimedOut = false;
    if (output.IsEmpty()) {  // no file: nothing runs, nothing comes in, and the request fails
        Page->FailWrite(NyxString("a foreign script's output could not be written: the temporary folder is not writable"));
        return output;
    }
    NyxString command;
    command.Printf("%S %S", &interpreter, &script);
    bool started = false;
    // Whatever the interpreter leaves running (a setsid child too) ends with
    // it, and its output file cannot grow past the request's bound.
    AdoptOrphans();
    int pid = 0;
    {
        const unsigned long long bound = Page->Walks->MaxOutput;
        const ScopedFileSizeLimit fileLimit(bound != 0 ? bound + 1 : 0);
        pid = ExecRedirect(command, started, nullptr, NyxString(), output, NyxString(), 0, false, true, nullptr, false,
                           nullptr);
    }
    // The interpreter's own limit, or what is left of the request's time if
    // that ends first.
    unsigned limit = TimeLimitSeconds * 1000;
    const unsigned left = Page->Walks->MillisecondsLeft();
    StoppedByRequestClock = left != 0 && (limit == 0 || left < limit);
    if (StoppedByRequestClock) limit = left;
    if (pid != 0) TimedOut = WaitForProcess(pid, limit) == WaitOutcome::TimedOut;
    EndStrayChildren();
    return output;
}

NyxString VexlScript::ExecuteScriptBuffer(NyxString& interpreter, HtmlObject*, int index) {
    const NyxString path = CreateTempFile();
    FILE* file = path.IsEmpty() ? nullptr : std::fopen(path.GetString(), "w");
    if (file == nullptr) {
        Page->FailWrite(NyxString("a foreign script could not be written: the temporary folder is not writable"));
        return NyxString();
    }
    bool written = std::fprintf(file, "#!%s\n\n", interpreter.GetString()) > 0;
    const HtmlObject* body = Page->HtmlList->GetEntry(index + 1);
    if (body != nullptr) {
        const NyxString text = body->Output();
        written = std::fwrite(text.GetString(), 1, text.GetSize(), file) == text.GetSize() && written;
    }
    written = std::fclose(file) == 0 && written;
    if (!written) {  // a full disk: a script cut short must not run
        FileDelete(path, 0);
        Page->FailWrite(NyxString("a foreign script could not be written whole: the temporary folder is full"));
        return NyxString();
    }
    const NyxString output = ExecuteScriptFile(interpreter, path);
    FileDelete(path, 0);
    return output;
}
