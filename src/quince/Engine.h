// Engine: what stands behind a QuinceContext: configuration and limits,
// output and error reports, the variable lists, procedures, native
// functions and modules, the compiled-expression cache, sessions and the VM.
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "foundation/IniFile.h"
#include "quince/FunctionModule.h"
#include "quince/Limits.h"
#include "quince/Procedure.h"
#include "quince/Value.h"
#include "quince/Vm.h"
#include "values/NyxString.h"

class QuinceContext;
class SessionStore;
class Stack;
class Variable;

namespace quince {

// Hashing that takes std::string_view, so lookups need no std::string.
// Hashing of the keys (names, expression texts) eight bytes at a time: the
// cached expression lookup runs at every visit of a tag, and the keys are short.
struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
        uint64_t hash = 0x9E3779B97F4A7C15ull ^ text.size();
        const char* bytes = text.data();
        std::size_t left = text.size();
        for (; left >= 8; bytes += 8, left -= 8) {
            uint64_t word;
            std::memcpy(&word, bytes, 8);
            hash = (hash ^ word) * 0xFF51AFD7ED558CCDull;
            hash ^= hash >> 32;
        }
        uint64_t tail = 0;
        for (std::size_t i = 0; i < left; ++i) tail |= uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
        hash = (hash ^ tail) * 0xC4CEB9FE1A85EC53ull;
        return static_cast<std::size_t>(hash ^ (hash >> 29));
    }
};
template <class T>
using TextMap = std::unordered_map<std::string, T, TextHash, std::equal_to<>>;

// One of the context's lists of variables (global, page, session). It owns
// its variables; numbers are 0-based positions.
class VariableList {
public:
    VariableList() = default;
    ~VariableList();
    VariableList(const VariableList&) = delete;
    VariableList& operator=(const VariableList&) = delete;

    Variable* Find(std::string_view name) const;
    int FindNumber(std::string_view name) const;  // -1 if absent
    // Takes ownership; a variable of the same name is deleted and replaced in its place.
    int Add(Variable* variable);
    unsigned Count() const { return static_cast<unsigned>(Items.size()); }
    Variable* At(unsigned number) const { return Items[number]; }
    void Clear();

private:
    std::vector<Variable*> Items;
    TextMap<unsigned> Numbers;
};

struct NativeFunction {
    NyxString Name;
    QuinceNativeFunction Function;
    unsigned MinArguments;
    unsigned MaxArguments;
};

// A compiled expression in the cache. ExpressionCompiler objects hold a
// reference while they use one, so clearing the cache never pulls one away.
struct ExpressionViews;
void DeleteExpressionViews(ExpressionViews* views);

struct CachedExpression {
    std::string_view Text;             // the cache's key
    uint32_t RefCount = 1;             // the cache's own, plus one per compiler that holds it
    Procedure* Code = nullptr;         // null: the text does not compile, whatever exists
    std::vector<NyxString> RequiredNames;
    std::vector<NyxString> RequiredCallees;
    uint64_t CheckedGeneration = 0;    // the context's generation when Valid was worked out
    bool Valid = false;                // every required name and callee existed then
    bool StraightInts = false;         // Code may run without the machine (StraightInts.h)
};
void RetainExpression(CachedExpression* expression);
// Whether the first statement of a text is `proc`.
bool TextIsStructured(std::string_view text);
// Whether any statement of a text begins with `proc`.
bool TextDefinesProcedures(std::string_view text);
// The text without its trailing blanks and line ends: a frame put around a
// run of statements ends on the line after the last one, not further down.
std::string_view TrimTrailingSpace(std::string_view text);
void ReleaseExpression(CachedExpression* expression);

class Engine {
public:
    explicit Engine(QuinceContext& owner);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    QuinceContext& Owner;

    // --- Configuration (Engine.cpp)
    NyxString IniDir;
    NyxString IniPath;
    std::shared_ptr<const IniFile> Config;  // the file at IniPath, read once; none without a path
    const IniFile& GetConfig() const;
    const Limits& GetLimits() { return LimitsRead ? CurrentLimits : ReadLimits(); }
    NyxString ReadConfig(const char* key);  // section QuinceConfig; empty if absent
    void ForgetConfig() { LimitsRead = false; }
    // The end of the request that runs the scripts (monotonic milliseconds;
    // 0: none): no run goes past it, whatever its own MaxRunSeconds leaves.
    int64_t RequestDeadline = 0;

    // --- Output and failures (Engine.cpp)
    NyxString* Target = nullptr;
    NyxString Pending;  // printed while no target was set; FlushOutput writes it out
    NyxString& Output() { return Target != nullptr ? *Target : Pending; }
    // Output not yet handed on, against MaxOutputBytes.
    bool OutputIsPastLimit() {
        const uint64_t limit = GetLimits().MaxOutputBytes;
        return limit != 0 && Output().GetLength() > limit;
    }
    void FlushOutput();
    // The one form of every failure report written into the output:
    // <p><b>Quince error</b> in <b>FILE</b> line <b>N</b>: MESSAGE</p>
    void ReportError(const NyxString& file, unsigned line, const NyxString& message);

    // --- Strings and arrays
    MemoryAccount Memory;

    // --- Variables (Engine.cpp)
    VariableList Globals;
    VariableList Page;
    VariableList Sessions;
    uint64_t VariableGeneration = 1;  // changes whenever a list gains, replaces or loses a variable
    VariableList& ListFor(int list);
    // Global, then session, then page: the order in which scripts see names.
    Variable* FindContextVariable(std::string_view name) const;
    // The variable a name site stands for now: the one it found, while the
    // variable lists have not changed since.
    Variable* SiteVariable(NameSite& site) {
        if (site.Generation != VariableGeneration) {
            site.Cached = FindContextVariable(site.Name.View());
            site.Generation = VariableGeneration;
        }
        return site.Cached;
    }
    int AddVariable(Variable* variable, int list);

    // --- Procedures and functions (Engine.cpp)
    uint64_t NativeGeneration = 1;
    uint64_t CallGeneration() const;  // changes whenever a procedure or native function comes or goes
    Procedure* FindProcedure(std::string_view name) const;
    void AddProcedure(Procedure* procedure);  // replaces a procedure of the same name
    const NativeFunction* FindNative(std::string_view name) const;
    int RegisterFunction(const NyxString& name, QuinceNativeFunction function, unsigned minArguments,
                         unsigned maxArguments);
    // Looks for the module in the folders of ModuleSearchPath(folders).
    bool LoadFunctionModule(const NyxString& name, const NyxString& folders, void** handle);
    // The ';'-separated folders a module is looked for in: `folders` when not
    // empty, else ModulePath of the configuration, else the default places.
    NyxString ModuleSearchPath(const NyxString& folders, bool* usual = nullptr);

    // --- Compiling and running (EngineRun.cpp)
    // Compiles a script text; procedures join the context, top-level
    // declarations run. Failures are reported; returns success.
    bool CompileText(std::string_view text, const NyxString& file, unsigned firstLine);
    // Compiles a script file; a file in which no statement begins with
    // `proc` is a run of statements and becomes the procedure `main`.
    bool CompileFile(const NyxString& path);
    // Runs a procedure for the page, binding the stack's variables to its
    // parameters by reference. Failures are reported and set RunFailed.
    bool RunForPage(const NyxString& name, Stack* stack);
    // Runs with Value arguments for a native caller; reports failures.
    bool Run(Procedure* procedure, Value* arguments, unsigned count, Value& result, RuntimeError& error);

    // --- Expressions (EngineExpressions.cpp)
    // The compiled form of `text` (a new reference), or null if it does not compile now.
    CachedExpression* CompileExpression(const NyxString& text);
    // The cache's entry for `text`, compiled if it was not there (no new
    // reference), and whether it compiled and everything it names exists now.
    CachedExpression* FindOrCompileExpression(const NyxString& text);
    bool IsExpressionUsable(CachedExpression* entry);
    // Pushes the value as a new Variable; quiet on failure.
    bool EvaluateExpression(CachedExpression* expression, Stack* stack);
    // The same value in a Variable that the engine keeps and reuses: valid
    // until the next call, for callers that only read it. Null on failure.
    Variable* EvaluateExpressionView(CachedExpression* expression);
    RuntimeError ExpressionError;  // the last failure of an expression (never reported)
    void ClearExpressionCache();

    // --- Sessions (EngineSessions.cpp)
    unsigned SessionId = 0;
    bool SessionIdSet = false;  // a number is in force: given, or settled from a claim
    SessionStore* GetSessionStore();  // this thread's store, opened on first use; null if there is none
    bool DoesSessionExist(unsigned id);
    void ExpireSessions(unsigned ageSeconds);
    void SetSessionId(unsigned id);
    // The session a visitor's cookies name, settled only when a `session`
    // variable is first bound: resumed if the store holds it with that secret
    // and it has not been idle for `expirySeconds`, else a new one. `settled`
    // hears the number then. Until then no store is opened.
    void ClaimSession(unsigned id, const std::string& secret, unsigned expirySeconds,
                      std::function<void(unsigned)> settled);
    bool IsSessionClaimed() const { return Claim.Active; }
    const std::string& GetSessionSecret() const { return Claim.Secret; }  // of the settled session
    const NyxString& GetSessionProblem() const { return SessionProblem; }
    // The session could not be used or kept: its lock or its write-back failed.
    bool HasSessionFailed() const { return SessionBusy; }
    // Binds `name` in the session list: from the store if it holds it, else `initial`.
    bool DeclareSessionVariable(std::string_view name, DeclaredType type, Value& initial, NyxString& error);
    // Writes the session list back in one transaction and lets the session's lock go.
    void SaveSessionVariables();

    // --- State for the library
    uint64_t NextRandom();

    void Reset();

private:
    const Limits& ReadLimits();
    // Runs a compiled expression; false (and ExpressionError set) on failure.
    bool RunExpression(CachedExpression* expression, Value& result);

    bool LimitsRead = false;
    Limits CurrentLimits;
    bool MainFailedToCompile = false;  // the last CompileFile failed: its error is the one to show

    TextMap<std::unique_ptr<NativeFunction>> Natives;
    TextMap<void*> LoadedModules;  // by the path they were found at; loaded for the life of the process

    TextMap<CachedExpression*> Expressions;
    // The entry last found for a text at a given address: a tag's parameter
    // is read in place at every visit, so its address finds the entry without
    // hashing the text. The text is still compared, as the address may since
    // hold another. Not owning; emptied with the cache.
    struct RecentLookup {
        const char* Address = nullptr;
        CachedExpression* Entry = nullptr;
    };
    static constexpr unsigned kRecentLookups = 256;
    std::unique_ptr<RecentLookup[]> Recent;
    CachedExpression* FindExpression(const NyxString& text);
    // Made on the first EvaluateExpressionView.
    std::unique_ptr<ExpressionViews, void (*)(ExpressionViews*)> Views{nullptr, DeleteExpressionViews};

    struct SessionClaimState {
        bool Active = false;    // ClaimSession was called
        unsigned Id = 0;        // as the cookie gave it; checked when settling
        std::string Secret;     // the cookie's, then the settled session's
        unsigned ExpirySeconds = 0;
        std::function<void(unsigned)> Settled;
        bool SettleTried = false;
    };
    SessionClaimState Claim;
    SessionStore* Store = nullptr;  // this thread's (not owned); found on first use
    bool StoreTried = false;        // finding it was tried (and perhaps failed)
    bool SessionLocked = false;     // this request holds the session's lock
    bool SessionBusy = false;       // the lock or the write-back failed: the session is not used
    bool SessionDirty = false;      // something to write back at the end
    bool SessionIsNew = false;      // made by this request: it holds no variables yet
    NyxString SessionProblem;       // what went wrong with the session, for the front end's log
    bool SettleClaim(NyxString& error);
    bool LockSession(NyxString& error);
    void ReadSessionSettings();
    bool SessionSettingsRead = false;
    bool SessionStoreConfigured = false;  // the key is present, perhaps empty
    NyxString SessionStoreSetting;
    unsigned SessionLockMilliseconds = 0;

    uint64_t RandomState = 0;

public:
    Vm Machine;  // last: it refers to the members above
};

}  // namespace quince
