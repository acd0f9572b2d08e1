// VexlPage: one page request. The caller sets the file, the output and the
// request's values, calls Process, then reads Headers and the output.
// Handlers reach every piece of state of the request through its fields.
#pragma once

#include <cstdint>
#include <functional>

#include "quince/QuinceContext.h"
#include "page/FileConfinement.h"
#include "page/WalkBudget.h"
#include "page/HeaderList.h"
#include "tags/TagDefList.h"
#include "values/HtmlObjectList.h"
#include "values/NyxString.h"
#include "values/NyxVector.h"
#include "values/Variable.h"

class GenSqlConnection;
class TranslationSource;
class PageCache;
struct FunctionModuleCall;

// Entry point of the html.qnc module: the page's objects as a script value.
using HtmlFileToVariableFunction = Variable* (*)(FunctionModuleCall* call, HtmlObjectList* list);

class VexlPage {
public:
    VexlPage();
    VexlPage(const VexlPage& parent);  // a child page: shares Context and Output
    VexlPage& operator=(const VexlPage&) = delete;
    virtual ~VexlPage();

    void SetFile(const NyxString& path);
    void SetOutput(NyxString* output);
    void SetIniPath(const NyxString& path);
    // Parsed pages come from `cache` and go back to it, for a long-running
    // front end; call after SetIniPath and before SetFile. The configuration's
    // "PageCacheBytes" bounds the cache (0: nothing is kept).
    void UsePageCache(PageCache& cache);
    bool Process();

    unsigned SetSessionId(unsigned id, unsigned expiry);
    // For web front ends, in place of SetSessionId: the session the
    // visitor's cookies name (0 and "" for none) is only checked, or a new
    // one made, when a script binds its first session variable. Until then
    // HTTP_SESSION_ID is 0 and no store is opened; a request that binds none
    // ends without the header pair http_session_id.
    void ClaimSession(unsigned id, const NyxString& secret, unsigned expiry);
    bool IsSessionSettled() const;   // after Process: the request used a session (SessionId)
    NyxString GetSessionSecret() const;   // the settled session's secret, for the visitor's cookie
    NyxString GetSessionProblem() const;  // why the session failed in this request; empty if it did not
    bool HasSessionFailed() const;        // its lock could not be had in time, or its changes not stored
    // Why a file the request needed could not be written (a temporary folder
    // not writable, a full disk); empty if nothing failed. The request ended there.
    const NyxString& GetWriteProblem() const { return WriteProblem; }
    void FailWrite(const NyxString& problem);
    void CreateOneVariable(const NyxString& name, const NyxString& value, QuinceContext::enum_VarListType list);
    void SetTranslationFile(const NyxString& path);
    GenSqlConnection* GetTranslationDb();
    Variable* GetHtmlFileVariable();

    void AppendOutput(const NyxString& text);
    void AppendOutput(const char* text, unsigned size);
    void AppendOutput(const HtmlObject& object);  // its Output(), without a temporary
    // Its Output() with some parameter values replaced (see HtmlObject).
    void AppendOutput(const HtmlObject& object, const NyxString* const* replacements, unsigned count);
    // The Output() of object `index` of HtmlList, through the list's kept
    // texts, and a line end behind it when `lineEnd` is set.
    void AppendListedObject(int index, bool lineEnd);
    void AppendOutput(char c);
    void PrintOutput(NyxString format, ...);
    void FlushOutput();
    void ErrorOutput(unsigned line, const NyxString& format, ...);

    // Names of the server values, for the caller's CreateOneVariable calls.
    static const NyxString HTTP_DOCUMENT_ROOT;
    static const NyxString HTTP_REMOTE_ADDR;
    static const NyxString HTTP_REMOTE_HOST;
    static const NyxString HTTP_REMOTE_PASSWORD;
    static const NyxString HTTP_REMOTE_USER;
    static const NyxString HTTP_SCRIPT_FILE;
    static const NyxString HTTP_SCRIPT_NAME;
    static const NyxString HTTP_SERVER_NAME;
    static const NyxString HTTP_URL;
    static const NyxString HTTP_USER_AGENT;
    static const NyxString SESSIONID_NAME;

    HtmlObjectList* HtmlList = nullptr;        // owned (or lent by Cache); swapped by INCLUDE
    PageCache* Cache = nullptr;                // not owned; none on child pages
    uint64_t CacheRequest = 0;
    // Hands a list from SetFile back: to the cache it came from, or deleted.
    void ReleaseList(HtmlObjectList* list);
    void ChargeList();  // HtmlList's bytes against MaxMemory
    unsigned SessionId = 0;
    QuinceContext* Context = nullptr;          // owned unless IsChildPage
    TagDefList TagDefs;
    HeaderList Headers;
    NyxVector<NyxString> IncludedFiles;        // full paths let in by onceonly
    NyxVector<NyxString> TempFiles;            // deleted at the end of Process
    NyxString* Output = nullptr;               // not owned while OutputIsExternal
    NyxString IniPath;
    bool TranslationEnabled = false;
    // No user tag is defined and texts are not translated: every object
    // without a handler is written as the page has it.
    bool WritesObjectsAsWritten() const { return TagDefs.IsEmpty() && !TranslationEnabled; }
    NyxString TranslationTable;
    NyxString TranslationKeyColumn;
    NyxString TranslationValueColumn;
    bool OutputIsExternal = false;
    bool IsChildPage = false;
    HtmlFileToVariableFunction HtmlFileToVariableFn = nullptr;
    NyxString TranslationFile;
    GenSqlConnection* TranslationDb = nullptr;  // TranslationSourceInUse's connection, or null
    TranslationSource* TranslationSourceInUse = nullptr;  // acquired by GetTranslationDb, released when dropped

    // Beyond the request's own fields: the nesting of walks in progress, shared
    // with child pages, and the source of new session numbers.
    WalkBudget* Walks = nullptr;     // the top page's OwnWalks
    // The files a page may name (ConfineFiles), worked out by the top page in
    // Process from SiteRoot (the front ends set it; otherwise the page's folder).
    const FileConfinement* Confinement = nullptr;  // the top page's OwnConfinement
    // SafeOutput = 1: values written into markup are escaped (page/SafeOutput.h).
    // Read by the top page in Process; child pages copy it.
    bool SafeOutput = false;
    // A variable part of a message (a path, a name): escaped under SafeOutput.
    NyxString Shown(const NyxString& part) const;
    NyxString SiteRoot;
    VexlPage* ParentPage = nullptr;  // set on child pages; temporary files go there
    std::function<unsigned()> DrawSessionNumber;  // the system's secure generator by default
    bool SessionClaimed = false;                  // ClaimSession, not SetSessionId, chose the session

private:
    void ProcessPrePostScripts(const NyxString& key);
    void SetSessionCookie();
    void DeleteTempFiles();
    bool LoadHtmlModule();

    void ReadLimits();
    unsigned ChooseSession(unsigned id, unsigned expiry);  // SetSessionId's work
    void AddRequestVariable(const NyxString& name, const NyxString& value,
                            QuinceContext::enum_VarListType list);  // CreateOneVariable's work
    NyxString& Sink() { return Output != nullptr ? *Output : MakeOwnBuffer(); }  // Output, made on first use
    NyxString& MakeOwnBuffer();
    void FlushIfFull(const NyxString& sink);  // after an append to Sink()
    void EndForOutput();                      // MaxOutputBytes reached: the walks end

    NyxString* OwnBuffer = nullptr;  // the page's own buffer, kept alive for child pages
    NyxString WriteProblem;
    WalkBudget OwnWalks;
    FileConfinement OwnConfinement;
    std::size_t ChargedListBytes = 0;  // of HtmlList, taken from the engine's MemoryAccount
};
