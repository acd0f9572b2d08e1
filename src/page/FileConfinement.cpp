#include "page/FileConfinement.h"

#include <string_view>

#include "foundation/IniFile.h"
#include "foundation/Paths.h"

namespace {

bool Inside(const std::string& path, const std::string& folder) {
    if (folder == "/") return true;
    return path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 && path[folder.size()] == '/';
}

}  // namespace

void FileConfinement::Configure(const IniFile& config, const NyxString& root) {
    // Safe output confines files too: a page that escapes what it prints
    // should not read /etc/passwd for a visitor either.
    On = config.IsSwitchedOn("QuinceConfig", "ConfineFiles") || config.IsSwitchedOn("QuinceConfig", "SafeOutput");
    Folders.clear();
    if (!On) return;
    const std::string realRoot = RealPath(root).ToStd();
    if (!realRoot.empty()) Folders.push_back(realRoot);
    NyxString value;
    config.GetEntryValue("QuinceConfig", "AllowedFolders", value, "");
    std::string_view list = value.View();
    while (!list.empty()) {
        const std::size_t comma = list.find(',');
        std::string_view item = list.substr(0, comma);
        list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
        while (!item.empty() && (item.front() == ' ' || item.front() == '\t')) item.remove_prefix(1);
        while (!item.empty() && (item.back() == ' ' || item.back() == '\t')) item.remove_suffix(1);
        const std::string folder = item.empty() ? std::string() : RealPath(NyxString(std::string(item).c_str())).ToStd();
        if (!folder.empty()) Folders.push_back(folder);
    }
}

bool FileConfinement::Admits(const NyxString& path) const {
    if (!On) return true;
    const std::string real = RealPath(path).ToStd();
    if (real.empty()) return false;
    for (const std::string& folder : Folders) {
        if (Inside(real, folder)) return true;
    }
    return false;
}
