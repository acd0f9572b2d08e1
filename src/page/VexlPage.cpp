// VexlPage: construction, the child-page copy, the page file, the
// configuration and the run of one request.
#include "page/VexlPage.h"

#include <cstdlib>

#include "foundation/Files.h"
#include "foundation/IniFile.h"
#include "foundation/Paths.h"
#include "foundation/Random.h"
#include "foundation/Sql.h"
#include "quince/Engine.h"
#include "page/Contained.h"
#include "page/TranslationSource.h"
#include "page/PageCache.h"
#include "page/SafeOutput.h"
#include "tags/VexlParse.h"
#include "values/PathParser.h"

VexlPage::VexlPage()
    : Context(new QuinceContext(nullptr)),
      Walks(&OwnWalks),
      Confinement(&OwnConfinement),
      DrawSessionNumber([] { return SecureRandom32(); }) {
    LoadHtmlModule();
    TranslationSource::BumpGeneration();  // texts remembered for an earlier page are not this one's
}

VexlPage::VexlPage(const VexlPage& parent)
    : SessionId(0),
      Context(parent.Context),
      TagDefs(parent.TagDefs),
      Headers(parent.Headers),
      IncludedFiles(parent.IncludedFiles),
      TranslationEnabled(parent.TranslationEnabled),
      OutputIsExternal(parent.OutputIsExternal),
      IsChildPage(true),
      HtmlFileToVariableFn(parent.HtmlFileToVariableFn),
      TranslationFile(parent.TranslationFile),
      Walks(parent.Walks),
      Confinement(parent.Confinement),
      SafeOutput(parent.SafeOutput),
      ParentPage(const_cast<VexlPage*>(&parent)),
      DrawSessionNumber(parent.DrawSessionNumber) {
    // The child reaches the parent's buffer even when the parent has not
    // written anything yet, so that the child's text is never lost.
    if (parent.Output == nullptr) ParentPage->AppendOutput(NyxString());
    Output = ParentPage->Output;
    OutputIsExternal = ParentPage->OutputIsExternal;
    TranslationSource::BumpGeneration();
}

VexlPage::~VexlPage() {
    ReleaseList(HtmlList);
    HtmlList = nullptr;
    if (!IsChildPage) delete Context;
    TranslationSource::Release(TranslationSourceInUse);
    if (IsChildPage) {
        // Files made while the child was walked live to the end of the request.
        for (unsigned i = 0; i < TempFiles.Size(); ++i) ParentPage->TempFiles.PushBack(TempFiles[i]);
    } else {
        DeleteTempFiles();
        delete OwnBuffer;
    }
}

void VexlPage::SetFile(const NyxString& path) {
    Contained([&] {
        const NyxString fullPath = CompletePath(path);
        ReleaseList(HtmlList);
        HtmlList = nullptr;
        HtmlList = Cache != nullptr ? Cache->Take(fullPath, CacheRequest) : new HtmlObjectList(fullPath);
        if (!HtmlList->WasOpened()) {
            const NyxString shownPath = Shown(fullPath);
            PrintOutput("<P>Unable to open file '%S'.</P>\n", &shownPath);
        }
        ChargeList();
    });
}

// The parsed objects of the page's file count against the request's
// MaxMemory while the page holds them, as a script's strings do: a page that
// includes big files over and over ends with a message instead of growing.
void VexlPage::ChargeList() {
    quince::Engine& engine = Context->GetEngine();
    const std::size_t bytes = HtmlList->GetUsedBytes();
    const uint64_t limit = engine.GetLimits().MaxMemory;
    if (engine.Memory.Take(bytes)) {
        ChargedListBytes = bytes;
        return;
    }
    if (Walks->Ended) return;
    Walks->End("MaxMemory");
    PrintOutput("<P>The page was cut short: its files and scripts need more than %llu bytes (QuinceConfig MaxMemory).</P>\n",
                static_cast<unsigned long long>(limit));
}

void VexlPage::ReleaseList(HtmlObjectList* list) {
    if (list != nullptr && list == HtmlList && ChargedListBytes != 0) {
        Context->GetEngine().Memory.Give(ChargedListBytes);
        ChargedListBytes = 0;
    }
    if (Cache != nullptr) {
        Cache->Give(list);
    } else {
        delete list;
    }
}

void VexlPage::UsePageCache(PageCache& cache) {
    Contained([&] {
        NyxString value;
        Context->GetConfig().GetEntryValue("QuinceConfig", "PageCacheBytes", value, "");
        cache.SetCapacity(static_cast<std::size_t>(IniFile::ParseCount(value, PageCache::kDefaultBytes)));
        Cache = &cache;
        CacheRequest = cache.BeginRequest();
    });
}

void VexlPage::SetOutput(NyxString* output) {
    Output = output;
    OutputIsExternal = true;
    Context->SetOutput(output);
}

void VexlPage::SetIniPath(const NyxString& path) {
    Contained([&] {
        IniPath = path;
        const PathParser parser(path);
        Context->SetIniDir(parser.GetDrive() + parser.GetDir());
        Context->SetIniPath(path);
        ReadLimits();
        // The configuration may name other module folders than the defaults.
        HtmlFileToVariableFn = nullptr;
        LoadHtmlModule();
    });
}

// Reads the page's own bounds from section "QuinceConfig"; a missing or
// unusable value keeps the default.
void VexlPage::ReadLimits() {
    NyxString value;
    Context->GetConfig().GetEntryValue("QuinceConfig", kMaxWalkDepthKey, value, "");
    if (value.IsEmpty()) return;
    char* end = nullptr;
    const long limit = std::strtol(value.GetString(), &end, 10);
    if (end != value.GetString() && limit > 0 && limit <= 100000) OwnWalks.Limit = static_cast<int>(limit);
}

bool VexlPage::Process() {
    const bool finished = Contained([&] {
        // The top page's walk holds the request's clock; child pages share it.
        if (Walks == &OwnWalks) {
            const quince::Limits& limits = Context->GetEngine().GetLimits();
            OwnWalks.Start(limits.MaxRunSeconds, limits.MaxOutputBytes);
            Context->GetEngine().RequestDeadline = OwnWalks.Deadline;
            NyxString root = SiteRoot;
            if (root.IsEmpty() && HtmlList != nullptr) {
                root = HtmlList->GetFilePath();
                const unsigned slash = root.FindLast("/");
                root.SetLength(slash == NyxString::kAll ? 0 : slash == 0 ? 1 : slash);
                if (root.IsEmpty()) root = NyxString(".");
            }
            OwnConfinement.Configure(Context->GetConfig(), root);
            SafeOutput = Context->GetConfig().IsSwitchedOn("QuinceConfig", "SafeOutput");
        }
        ProcessPrePostScripts("Preload");
        if (HtmlList != nullptr) {
            VexlParse walker(this);
            walker.Start(0, nullptr);
        }
        SetSessionCookie();
        FlushOutput();
        DeleteTempFiles();
        Context->ResetContext();
    });
    if (!finished) {
        // Out of memory: say so if there is room for it, and leave no files.
        Contained([&] {
            AppendOutput(NyxString("<P>The page could not be finished: the server ran out of memory.</P>\n"));
            FlushOutput();
        });
        Contained([&] { DeleteTempFiles(); });
    }
    return finished;
}

NyxString VexlPage::Shown(const NyxString& part) const { return SafeOutput ? HtmlEscaped(part.View()) : part; }
