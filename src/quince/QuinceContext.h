// QuinceContext: one script context: compiled procedures, the variable lists
// (global, page, session), output, configuration, native functions and loaded
// modules. A page owns one context for all of its scripts and expressions.
#pragma once

#include <cstdint>
#include <functional>

#include "quince/FunctionModule.h"
#include "quince/ProcedureList.h"
#include "values/NyxString.h"

class IniFile;
class XmlProxyClient;
class Stack;
class Variable;
namespace quince {
class Engine;
}

class QuinceContext {
public:
    enum enum_VarListType { VarListLocal = 0, VarListGlobal = 1, VarListPage = 2, VarListSession = 3 };

    explicit QuinceContext(XmlProxyClient* proxy);  // proxy is unused (always null)
    virtual ~QuinceContext();

    // Configuration: the folder and the path of the site's configuration file.
    // The engine reads its keys from section "QuinceConfig" of GetIniPath()'s file.
    // SetIniPath reads the file (or takes it as last read, if unchanged) once;
    // GetConfig gives it to everyone who reads configuration for this context.
    void SetIniDir(const NyxString& dir);
    void SetIniPath(const NyxString& path);
    NyxString GetIniPath() const;
    const IniFile& GetConfig() const;
    NyxString GetExePath() const;

    // Output: with a target set, print appends straight to it; without one,
    // text is buffered and FlushOutput writes it to stdout. FlushOutput moves
    // pending text to the target.
    void SetOutput(NyxString* output);
    void FlushOutput();

    // Compiling: procedures join the context (a name that exists already is
    // replaced). Non-zero on success; failures are reported into the output.
    int CompileScriptBuffer(const NyxString& text, const NyxString& file, unsigned line);
    int CompileScriptFile(const NyxString& path);
    // Non-zero when the first statement of the text is `proc`.
    int ScriptBufferIsStructured(NyxString& text);
    // Compiles the file so that its `main` is the one RunProcedure("main") finds.
    void SetScriptFile(const NyxString& path, int mode);

    // Runs a procedure; the stack's variables (may be null) are bound to its
    // parameters in order, by reference. Non-zero on success; a runtime
    // failure is reported into the output and sets RunFailed.
    int RunProcedure(const NyxString& name, Stack* stack);
    int RunFailed = 0;

    ProcedureList Procedures;

    // Variable lists. GetVariable: owned by the context, or null.
    // FindVariable: the variable's number, -1 if absent. AddVariable: the
    // context takes ownership (a variable of the same name is replaced);
    // returns its number, -1 on failure (the variable is then deleted).
    Variable* GetVariable(const NyxString& name, enum_VarListType list);
    int FindVariable(const NyxString& name, enum_VarListType list);
    int AddVariable(Variable* variable, enum_VarListType list);

    // Sessions: `session` declarations bind to the store under this id.
    void SetSessionId(unsigned id);
    bool DoesSessionExist(unsigned id);
    void ExpireOldSessions(unsigned age);  // removes sessions idle longer than `age` seconds
    // For web front ends: the session that the visitor's cookies name (0 and
    // "" for none), settled when a script first binds a session variable:
    // resumed if the store holds it with that secret and it has been idle
    // less than `expiry` seconds, else a new one with a number and secret of
    // its own. `settled` hears the number. A request that binds none opens
    // no store.
    void ClaimSession(unsigned id, const NyxString& secret, unsigned expiry, std::function<void(unsigned)> settled);
    bool IsSessionSettled() const;
    NyxString GetSessionSecret() const;   // the settled session's secret
    NyxString GetSessionProblem() const;  // why sessions failed in this request; empty if they did not
    bool HasSessionFailed() const;        // its lock could not be had, or its changes not stored

    // Native functions and modules.
    bool LoadFunctionModule(const NyxString& name, const NyxString& path, void** handle);
    // The ';'-separated folders LoadFunctionModule looks in for this `path`;
    // `usual` (may be null) tells whether they are the default places, found
    // from where the library and the program are.
    NyxString GetModuleSearchPath(const NyxString& path, bool* usual = nullptr);
    // Makes `function` callable from Quince as `name`; calls are checked to
    // pass between minArguments and maxArguments. Non-zero on success.
    int RegisterFunction(const NyxString& name, QuinceNativeFunction function, unsigned minArguments,
                         unsigned maxArguments);

    // Writes back session variables, then clears procedures, page and global
    // variables and the compiled-expression cache. Modules stay loaded.
    void ResetContext();

    // The engine behind the context (compiler, VM, lists); for the engine's own files.
    quince::Engine& GetEngine() { return *EngineState; }

private:
    quince::Engine* EngineState;  // owned
};
