// Engine: configuration and limits, output and failure reports, variable
// lists, procedures, native functions and modules.
#include "quince/Engine.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <unordered_map>

#include "foundation/IniFile.h"
#include "foundation/Modules.h"
#include "foundation/Paths.h"
#include "foundation/Random.h"
#include "quince/Library.h"
#include "quince/QuinceContext.h"
#include "values/Variable.h"

namespace quince {

// --- Variable lists ------------------------------------------------------------------

VariableList::~VariableList() { Clear(); }

Variable* VariableList::Find(std::string_view name) const {
    auto found = Numbers.find(name);
    return found != Numbers.end() ? Items[found->second] : nullptr;
}

int VariableList::FindNumber(std::string_view name) const {
    auto found = Numbers.find(name);
    return found != Numbers.end() ? static_cast<int>(found->second) : -1;
}

int VariableList::Add(Variable* variable) {
    const std::string name = variable->GetVarName().ToStd();
    auto found = Numbers.find(name);
    if (found != Numbers.end()) {
        Variable* previous = Items[found->second];
        Items[found->second] = variable;
        if (previous != variable) Variable::Delete(previous);
        return static_cast<int>(found->second);
    }
    Items.push_back(variable);
    Numbers.emplace(name, static_cast<unsigned>(Items.size() - 1));
    return static_cast<int>(Items.size() - 1);
}

void VariableList::Clear() {
    std::vector<Variable*> items;
    items.swap(Items);
    Numbers.clear();
    for (Variable* variable : items) Variable::Delete(variable);
}

void RetainExpression(CachedExpression* expression) { ++expression->RefCount; }

void ReleaseExpression(CachedExpression* expression) {
    if (--expression->RefCount != 0) return;
    if (expression->Code != nullptr) ReleaseProcedure(expression->Code);
    delete expression;
}

// --- Modules -------------------------------------------------------------------------

namespace {

// Modules stay loaded for the life of the process: their code serves every
// context, and opening one afresh for each request would read and relocate
// the file every time. Each context still runs the module's init for itself.
struct ProcessModules {
    std::mutex Lock;
    std::unordered_map<std::string, void*> ByPath;
};

ProcessModules& LoadedInThisProcess() {
    static auto* modules = new ProcessModules;  // never destroyed: modules outlive static destructors
    return *modules;
}

void* OpenModuleOnce(const NyxString& path) {
    ProcessModules& modules = LoadedInThisProcess();
    const std::lock_guard<std::mutex> hold(modules.Lock);
    auto found = modules.ByPath.find(path.ToStd());
    if (found != modules.ByPath.end()) return found->second;
    void* module = ModuleOpen(path);
    if (module != nullptr) modules.ByPath.emplace(path.ToStd(), module);
    return module;
}

}  // namespace

// --- Engine ----------------------------------------------------------------------------

Engine::Engine(QuinceContext& owner) : Owner(owner), Machine(*this) {
    Memory.Limit = kMaxMemory;
}

Engine::~Engine() {
    SaveSessionVariables();
    ClearExpressionCache();
    Globals.Clear();
    Page.Clear();
    Sessions.Clear();
    Natives.clear();
}

// --- Configuration -----------------------------------------------------------------------

const IniFile& Engine::GetConfig() const {
    static const IniFile kNone{NyxString()};
    return Config != nullptr ? *Config : kNone;
}

NyxString Engine::ReadConfig(const char* key) {
    NyxString value;
    GetConfig().GetEntryValue("QuinceConfig", key, value, NyxString());
    return value;
}

const Limits& Engine::ReadLimits() {
    LimitsRead = true;
    CurrentLimits = Limits();
    if (IniPath.IsNotEmpty()) {
        const IniFile& file = GetConfig();
        auto read = [&file](const char* key, uint64_t fallback) {
            NyxString value;
            file.GetEntryValue("QuinceConfig", key, value, NyxString());
            return IniFile::ParseCount(value, fallback);
        };
        auto clampUnsigned = [](uint64_t value) { return static_cast<unsigned>(value > 0xFFFFFFFFu ? 0xFFFFFFFFu : value); };
        CurrentLimits.MaxCallDepth = clampUnsigned(read("MaxCallDepth", kMaxCallDepth));
        CurrentLimits.MaxParseDepth = clampUnsigned(read("MaxParseDepth", kMaxParseDepth));
        CurrentLimits.MaxSteps = read("MaxSteps", kMaxSteps);
        CurrentLimits.MaxRunSeconds = clampUnsigned(read("MaxRunSeconds", kMaxRunSeconds));
        CurrentLimits.MaxMemory = read("MaxMemory", kMaxMemory);
        CurrentLimits.MaxOutputBytes = read("MaxOutputBytes", kMaxOutputBytes);
    }
    if (CurrentLimits.MaxCallDepth < 1) CurrentLimits.MaxCallDepth = 1;
    // Every call holds at least one slot of the value stack: more calls than
    // slots could never be made, and the frames are reserved up to the limit.
    if (CurrentLimits.MaxCallDepth > kValueStackSlots) CurrentLimits.MaxCallDepth = kValueStackSlots;
    if (CurrentLimits.MaxParseDepth < 1) CurrentLimits.MaxParseDepth = 1;
    Memory.Limit = static_cast<std::size_t>(CurrentLimits.MaxMemory);
    return CurrentLimits;
}

// --- Output ------------------------------------------------------------------------------

void Engine::FlushOutput() {
    if (Pending.IsEmpty()) return;
    if (Target != nullptr) {
        Target->Append(Pending);
    } else {
        std::fputs(Pending.GetString(), stdout);
        std::fflush(stdout);
    }
    Pending.Clear();
}

namespace {

void AppendEscaped(NyxString& output, std::string_view text) {
    for (char c : text) {
        switch (c) {
            case '&': output.Append("&amp;"); break;
            case '<': output.Append("&lt;"); break;
            case '>': output.Append("&gt;"); break;
            default: output.Append(c); break;
        }
    }
}

}  // namespace

void Engine::ReportError(const NyxString& file, unsigned line, const NyxString& message) {
    NyxString report("<p><b>Quince error</b>");
    if (file.IsNotEmpty()) {
        report.Append(" in <b>");
        AppendEscaped(report, file.View());
        report.Append("</b> line <b>");
        char number[16];
        std::snprintf(number, sizeof number, "%u", line);
        report.Append(number);
        report.Append("</b>");
    }
    report.Append(": ");
    AppendEscaped(report, message.View());
    report.Append("</p>\n");
    Output().Append(report);
}

// --- Variables ---------------------------------------------------------------------------

VariableList& Engine::ListFor(int list) {
    switch (list) {
        case QuinceContext::VarListGlobal: return Globals;
        case QuinceContext::VarListSession: return Sessions;
        default: return Page;
    }
}

Variable* Engine::FindContextVariable(std::string_view name) const {
    if (Variable* found = Globals.Find(name)) return found;
    if (Variable* found = Sessions.Find(name)) return found;
    return Page.Find(name);
}

int Engine::AddVariable(Variable* variable, int list) {
    if (variable == nullptr) return -1;
    ++VariableGeneration;
    return ListFor(list).Add(variable);
}

// --- Procedures and functions --------------------------------------------------------------

uint64_t Engine::CallGeneration() const { return Owner.Procedures.GetGeneration() + NativeGeneration; }

Procedure* Engine::FindProcedure(std::string_view name) const { return Owner.Procedures.GetProcedure(name); }

void Engine::AddProcedure(Procedure* procedure) { Owner.Procedures.AddProcedure(procedure); }

const NativeFunction* Engine::FindNative(std::string_view name) const {
    auto found = Natives.find(name);
    return found != Natives.end() ? found->second.get() : nullptr;
}

int Engine::RegisterFunction(const NyxString& name, QuinceNativeFunction function, unsigned minArguments,
                             unsigned maxArguments) {
    if (name.IsEmpty() || function == nullptr || minArguments > maxArguments) return 0;
    if (FindBuiltin(name.View(), nullptr) != nullptr) return 0;  // built-in names are reserved
    if (maxArguments > 255) maxArguments = 255;
    auto native = std::make_unique<NativeFunction>(NativeFunction{name, function, minArguments, maxArguments});
    Natives[name.ToStd()] = std::move(native);
    ++NativeGeneration;
    return 1;
}

NyxString Engine::ModuleSearchPath(const NyxString& folders, bool* usual) {
    if (usual != nullptr) *usual = false;
    if (!folders.IsEmpty()) return folders;
    NyxString searchPath = ReadConfig("ModulePath");
    if (!searchPath.IsEmpty()) return searchPath;
    if (usual != nullptr) *usual = true;
    // Found from where the library and the program are, so that an installed
    // tree works under any prefix and wherever it is moved; the folders
    // known when it was built come last.
    const NyxString library = GetLibraryFolder();
    if (!library.IsEmpty()) {
        searchPath.Append(library);
        searchPath.Append("/vexl;");
        searchPath.Append(library);
        searchPath.Append(";");
    }
    const NyxString program = GetExecutablePath();
    const unsigned slash = program.FindLast("/");
    if (slash != NyxString::kAll) {
        const NyxString programFolder = program.GetSubstring(0, slash);
        searchPath.Append(programFolder);
        searchPath.Append("/" VEXL_MODULE_FROM_PROGRAM ";");
        searchPath.Append(programFolder);
        searchPath.Append(";");
    }
    searchPath.Append(VEXL_MODULE_INSTALL_DIR ";" VEXL_MODULE_BUILD_DIR);
    return searchPath;
}

bool Engine::LoadFunctionModule(const NyxString& name, const NyxString& folders, void** handle) {
    if (handle != nullptr) *handle = nullptr;
    if (name.IsEmpty()) return false;
    // The search comes first, so that a configuration that names other
    // folders is obeyed even after the module was loaded from elsewhere.
    const NyxString path = PathSearch(ModuleSearchPath(folders), name);
    if (path.IsEmpty()) return false;
    auto loaded = LoadedModules.find(path.View());
    if (loaded != LoadedModules.end()) {
        if (handle != nullptr) *handle = loaded->second;
        return true;
    }
    void* module = OpenModuleOnce(path);
    if (module == nullptr) return false;
    if (auto init = reinterpret_cast<QuinceModuleInitFunction>(ModuleSymbol(module, kQuinceModuleInitName))) {
        if (init(&Owner) == 0) return false;
    }
    LoadedModules.emplace(path.ToStd(), module);
    if (handle != nullptr) *handle = module;
    return true;
}

uint64_t Engine::NextRandom() {
    // splitmix64, seeded once from the system's secure source.
    if (RandomState == 0) RandomState = (uint64_t{SecureRandom32()} << 32 | SecureRandom32()) | 1;
    uint64_t z = (RandomState += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

void Engine::Reset() {
    SaveSessionVariables();
    Owner.Procedures.DeleteAllProcedures();
    Globals.Clear();
    Page.Clear();
    Sessions.Clear();
    ++VariableGeneration;
    ClearExpressionCache();
}

}  // namespace quince
