// SiteCheck: pages are checked one by one; names are judged afterwards, over
// groups of files joined by INCLUDE, because a fragment reads what the page
// around it sets.
#include "check/SiteCheck.h"

#include <algorithm>
#include <filesystem>
#include <functional>

#include "foundation/IniFile.h"
#include "quince/QuinceContext.h"
#include "quince/SourceCheck.h"

namespace fs = std::filesystem;

namespace {

// Bounds the files one run reads: an include chain of generated names
// cannot make it read forever.
constexpr std::size_t kMaxFiles = 100000;

std::string Normal(const std::string& path) {
    std::error_code error;
    const fs::path absolute = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path : absolute.string();
}

}  // namespace

SiteCheck::SiteCheck(std::string iniPath) : IniPath(std::move(iniPath)) {}

void SiteCheck::AddRequestName(const std::string& name) {
    std::string bare = name;
    if (bare.size() > 2 && bare[bare.size() - 2] == '.' &&
        std::string("bcdfisBCDFIS").find(bare.back()) != std::string::npos)
        bare.resize(bare.size() - 2);
    RequestNames.insert(bare);
}

bool SiteCheck::AddPath(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error || !fs::exists(status)) {
        Messages.push_back({path, 0, 0, CheckMessage::Severity::Error, "no such file or folder"});
        return false;
    }
    if (!fs::is_directory(status)) {
        Queue.push_back(path);
        return true;
    }
    std::vector<std::string> pages;
    fs::recursive_directory_iterator walk(path, fs::directory_options::skip_permission_denied, error);
    for (; !error && walk != fs::recursive_directory_iterator(); walk.increment(error)) {
        if (walk->is_regular_file(error) && walk->path().extension() == ".vxl") pages.push_back(walk->path().string());
        if (pages.size() >= kMaxFiles) break;
    }
    std::sort(pages.begin(), pages.end());
    Queue.insert(Queue.end(), pages.begin(), pages.end());
    return true;
}

void SiteCheck::Run() {
    if (!IniPath.empty()) {
        const NyxString iniPath{std::string_view(IniPath)};
        IniFile ini(iniPath);
        NyxString preload, propagated;
        ini.GetEntryValue("QuinceConfig", "Preload", preload, "");
        ini.GetEntryValue("General", "PropagatedVariables", propagated, "");
        if (preload.IsNotEmpty()) {
            QuinceContext context(nullptr);
            const QuinceSourceReport report = CheckQuinceScript(context, preload.View(), NyxString("Preload"), 1);
            if (!report.Compiled) {
                Messages.push_back({IniPath, 0, 0, CheckMessage::Severity::Error,
                                    "Preload: " + std::string(report.Error.View())});
            }
            for (const NyxString& name : report.Names) RequestNames.insert(std::string(name.View()));
        }
        std::string word;
        for (char c : std::string(propagated.View()) + " ") {
            if (c == ',' || c == ';' || c == ':' || c == ' ' || c == '\t') {
                if (!word.empty()) RequestNames.insert(word);
                word.clear();
            } else {
                word += c;
            }
        }
    }
    // Included files join the queue as they are found, each checked once.
    std::set<std::string> seen;
    for (std::size_t next = 0; next < Queue.size() && Checked.size() < kMaxFiles; ++next) {
        const std::string path = Queue[next];
        if (!seen.insert(Normal(path)).second) continue;
        CheckFile(path);
    }
    CheckNames();
    std::stable_sort(Messages.begin(), Messages.end(), [](const CheckMessage& a, const CheckMessage& b) {
        if (a.File != b.File) return a.File < b.File;
        if (a.Line != b.Line) return a.Line < b.Line;
        return a.Column < b.Column;
    });
    Messages.erase(std::unique(Messages.begin(), Messages.end()), Messages.end());
}

void SiteCheck::CheckFile(const std::string& path) {
    auto page = std::make_unique<PageCheck>(path);
    page->Run();
    for (const std::string& include : page->GetFacts().Includes) Queue.push_back(include);
    Checked.emplace(path, std::move(page));
}

void SiteCheck::CheckNames() {
    std::set<std::string> siteNames = RequestNames;
    std::set<std::string> userTags;
    for (const auto& [path, page] : Checked) {
        const PageFacts& facts = page->GetFacts();
        siteNames.insert(facts.SiteNames.begin(), facts.SiteNames.end());
        userTags.insert(facts.UserTags.begin(), facts.UserTags.end());
    }
    // Files joined by INCLUDE, in either direction, form one group.
    std::map<std::string, std::string> groupOf;
    std::map<std::string, std::string> pathByNormal;
    for (const auto& entry : Checked) pathByNormal[Normal(entry.first)] = entry.first;
    std::function<std::string(const std::string&)> find = [&](const std::string& path) {
        std::string root = path;
        for (unsigned guard = 0; guard < kMaxFiles; ++guard) {
            auto found = groupOf.find(root);
            if (found == groupOf.end() || found->second == root) break;
            root = found->second;
        }
        return root;
    };
    for (const auto& [path, page] : Checked) {
        groupOf.emplace(path, path);
        for (const std::string& include : page->GetFacts().Includes) {
            auto other = pathByNormal.find(Normal(include));
            if (other == pathByNormal.end()) continue;
            groupOf.emplace(other->second, other->second);
            groupOf[find(other->second)] = find(path);
        }
    }
    std::map<std::string, std::set<std::string>> groupNames;
    std::set<std::string> computedGroups;
    for (const auto& [path, page] : Checked) {
        const PageFacts& facts = page->GetFacts();
        const std::string group = find(path);
        groupNames[group].insert(facts.NamesSet.begin(), facts.NamesSet.end());
        if (facts.SetsComputedNames) computedGroups.insert(group);
    }
    for (const auto& [path, page] : Checked) {
        Messages.insert(Messages.end(), page->GetMessages().begin(), page->GetMessages().end());
        const PageFacts& facts = page->GetFacts();
        for (const PageFacts::SuspectTag& suspect : facts.SuspectTags) {
            if (userTags.count(suspect.Label) == 0) Messages.push_back(suspect.Message);
        }
        const std::string group = find(path);
        if (computedGroups.count(group) != 0) continue;
        const std::set<std::string>& set = groupNames[group];
        for (const PageFacts::NameRead& read : facts.NamesRead) {
            if (set.count(read.Name) != 0 || siteNames.count(read.Name) != 0) continue;
            if (read.Name.rfind("HTTP_", 0) == 0 || read.Name == "http_session_id") continue;
            Messages.push_back({path, read.Line, read.Column, CheckMessage::Severity::Warning,
                                "'" + read.Name +
                                    "' is read but nothing sets it (no SETVAR, script or include of this page, "
                                    "no form field or link of the site); it is empty or false when the page runs"});
        }
    }
}

bool SiteCheck::HasErrors() const {
    return std::any_of(Messages.begin(), Messages.end(),
                       [](const CheckMessage& m) { return m.Level == CheckMessage::Severity::Error; });
}
