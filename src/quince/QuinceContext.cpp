// QuinceContext: the public face of the engine; each call forwards to the
// Engine behind it.
#include "quince/QuinceContext.h"

#include "foundation/Files.h"
#include "foundation/IniFile.h"
#include "foundation/Paths.h"
#include "quince/Engine.h"

QuinceContext::QuinceContext(XmlProxyClient*) : EngineState(new quince::Engine(*this)) {}

QuinceContext::~QuinceContext() {
    // Procedures hold strings charged to the engine's memory account: they go first.
    Procedures.DeleteAllProcedures();
    delete EngineState;
}

void QuinceContext::SetIniDir(const NyxString& dir) { EngineState->IniDir = dir; }

void QuinceContext::SetIniPath(const NyxString& path) {
    EngineState->IniPath = path;
    EngineState->Config = path.IsEmpty() ? nullptr : IniFile::Load(path);
    EngineState->ForgetConfig();
}

NyxString QuinceContext::GetIniPath() const { return EngineState->IniPath; }

const IniFile& QuinceContext::GetConfig() const { return EngineState->GetConfig(); }

NyxString QuinceContext::GetExePath() const { return GetExecutablePath(); }

void QuinceContext::SetOutput(NyxString* output) { EngineState->Target = output; }

void QuinceContext::FlushOutput() { EngineState->FlushOutput(); }

namespace {

// Whether the text is a run of statements in the frame that the page puts
// around one: "proc NAME ()", a line end, the statements, a line end and
// "endproc" with a line end. The page gives the line of the statements' first
// line, so the frame's own line is the one before it.
bool IsPageFrame(std::string_view text) {
    if (text.substr(0, 5) != "proc ") return false;
    const std::size_t lineEnd = text.find('\n');
    if (lineEnd == std::string_view::npos || lineEnd < 3 || text.substr(lineEnd - 3, 3) != " ()") return false;
    constexpr std::string_view kEnd = "\nendproc\n";
    if (text.size() < lineEnd + 1 + kEnd.size() || text.substr(text.size() - kEnd.size()) != kEnd) return false;
    return !quince::TextIsStructured(text.substr(lineEnd + 1, text.size() - kEnd.size() - lineEnd - 1));
}

}  // namespace

int QuinceContext::CompileScriptBuffer(const NyxString& text, const NyxString& file, unsigned line) {
    const std::string_view source = text.View();
    const unsigned firstLine = IsPageFrame(source) && line > 0 ? line - 1 : line;
    return EngineState->CompileText(source, file, firstLine) ? 1 : 0;
}

int QuinceContext::CompileScriptFile(const NyxString& path) { return EngineState->CompileFile(path) ? 1 : 0; }

int QuinceContext::ScriptBufferIsStructured(NyxString& text) { return quince::TextIsStructured(text.View()) ? 1 : 0; }

// The old `main` goes first, so that a file that fails to compile leaves no
// stale `main` behind to be run in its place.
void QuinceContext::SetScriptFile(const NyxString& path, int) {
    Procedures.DeleteProcedure("main");
    EngineState->CompileFile(path);
}

int QuinceContext::RunProcedure(const NyxString& name, Stack* stack) {
    return EngineState->RunForPage(name, stack) ? 1 : 0;
}

Variable* QuinceContext::GetVariable(const NyxString& name, enum_VarListType list) {
    return EngineState->ListFor(list).Find(name.View());
}

int QuinceContext::FindVariable(const NyxString& name, enum_VarListType list) {
    return EngineState->ListFor(list).FindNumber(name.View());
}

int QuinceContext::AddVariable(Variable* variable, enum_VarListType list) {
    return EngineState->AddVariable(variable, list);
}

void QuinceContext::SetSessionId(unsigned id) { EngineState->SetSessionId(id); }

bool QuinceContext::DoesSessionExist(unsigned id) { return EngineState->DoesSessionExist(id); }

void QuinceContext::ClaimSession(unsigned id, const NyxString& secret, unsigned expiry,
                                 std::function<void(unsigned)> settled) {
    EngineState->ClaimSession(id, secret.ToStd(), expiry, std::move(settled));
}

bool QuinceContext::IsSessionSettled() const { return EngineState->SessionIdSet; }

NyxString QuinceContext::GetSessionSecret() const {
    return NyxString(std::string_view(EngineState->GetSessionSecret()));
}

NyxString QuinceContext::GetSessionProblem() const { return EngineState->GetSessionProblem(); }

bool QuinceContext::HasSessionFailed() const { return EngineState->HasSessionFailed(); }

void QuinceContext::ExpireOldSessions(unsigned age) { EngineState->ExpireSessions(age); }

NyxString QuinceContext::GetModuleSearchPath(const NyxString& path, bool* usual) {
    return EngineState->ModuleSearchPath(path, usual);
}

bool QuinceContext::LoadFunctionModule(const NyxString& name, const NyxString& path, void** handle) {
    return EngineState->LoadFunctionModule(name, path, handle);
}

int QuinceContext::RegisterFunction(const NyxString& name, QuinceNativeFunction function, unsigned minArguments,
                                    unsigned maxArguments) {
    return EngineState->RegisterFunction(name, function, minArguments, maxArguments);
}

void QuinceContext::ResetContext() { EngineState->Reset(); }
