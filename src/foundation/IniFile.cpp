// IniFile: finds an entry by scanning the lines each time it is asked; a
// configuration file is small. Load keeps the files read, one per path.
#include "foundation/IniFile.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "foundation/Files.h"

namespace {

// Far beyond any real configuration; a larger file (or a device such as
// /dev/zero) would be read whole into memory at every change.
constexpr long long kMaxConfigurationBytes = 1024 * 1024;

// Whether the file at `path` may be read as a configuration: absent (which
// reads as empty), or a regular file within the bound. Says why not on stderr,
// the web server's error log.
bool MayRead(const NyxString& path) {
    struct stat status {};
    if (stat(path.GetString(), &status) != 0) return true;
    if (S_ISREG(status.st_mode) && status.st_size <= kMaxConfigurationBytes) return true;
    std::fprintf(stderr, "vexl: configuration file %s ignored: %s\n", path.GetString(),
                 S_ISREG(status.st_mode) ? "larger than 1 MiB" : "not a regular file");
    return false;
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view Trim(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        unsigned char x = static_cast<unsigned char>(a[i]);
        unsigned char y = static_cast<unsigned char>(b[i]);
        if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

}  // namespace

IniFile::IniFile(const NyxString& path) : File(path) {}

IniFile::~IniFile() = default;

uint64_t IniFile::ParseCount(const NyxString& text, uint64_t fallback) {
    const std::string value = text.ToStd();
    if (value.empty()) return fallback;
    char* end = nullptr;
    const unsigned long long number = std::strtoull(value.c_str(), &end, 10);
    if (end == value.c_str()) return fallback;
    uint64_t scale = 1;
    if (*end == 'K' || *end == 'k') scale = 1024ull, ++end;
    else if (*end == 'M' || *end == 'm') scale = 1024ull * 1024, ++end;
    else if (*end == 'G' || *end == 'g') scale = 1024ull * 1024 * 1024, ++end;
    while (*end == ' ' || *end == '\t') ++end;
    if (*end != '\0' || value[0] == '-') return fallback;
    return static_cast<uint64_t>(number) * scale;
}

std::shared_ptr<const IniFile> IniFile::Load(const NyxString& path) {
    struct Kept {
        FileIdentity Identity;
        std::shared_ptr<const IniFile> File;
    };
    // A site has one or a few configuration files; the map does not grow
    // with requests.
    static std::mutex guard;
    static std::map<std::string, Kept> kept;
    static constexpr std::size_t kMostFilesKept = 64;

    FileIdentity identity;
    FileGetIdentity(path, identity);  // an absent file has the identity of none
    const std::string key = path.ToStd();
    {
        const std::lock_guard<std::mutex> lock(guard);
        const auto found = kept.find(key);
        if (found != kept.end() && found->second.Identity == identity) return found->second.File;
    }
    // Read after the look, so a file changed in between is read again next time.
    auto file = std::make_shared<const IniFile>(MayRead(path) ? path : NyxString());
    const std::lock_guard<std::mutex> lock(guard);
    if (kept.size() >= kMostFilesKept && kept.find(key) == kept.end()) kept.clear();
    kept[key] = Kept{identity, file};
    return file;
}

bool IniFile::GetEntryValue(const NyxString& section, const NyxString& key, NyxString& value,
                            const NyxString& defaultValue) const {
    const std::string_view wantedSection = Trim(section.View());
    const std::string_view wantedKey = Trim(key.View());
    bool inSection = false;
    for (unsigned i = 0; i < Lines.Size(); ++i) {
        std::string_view line = Trim(Lines[i].View());
        if (line.empty() || line.front() == ';' || line.front() == '#') continue;
        if (line.front() == '[') {
            // "[Name]": what follows the closing bracket is ignored; a header
            // without one takes the rest of the line as its name.
            std::string_view name = line.substr(1);
            name = name.substr(0, name.find(']'));
            inSection = EqualIgnoringCase(Trim(name), wantedSection);
            continue;
        }
        if (!inSection) continue;
        std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        if (!EqualIgnoringCase(Trim(line.substr(0, equals)), wantedKey)) continue;
        value = NyxString(Trim(line.substr(equals + 1)));
        return true;
    }
    // Copied through a temporary, as `value` and `defaultValue` may be one object.
    NyxString fallback(defaultValue);
    value = fallback;
    return false;
}

bool IniFile::IsSwitchedOn(const NyxString& section, const NyxString& key) const {
    NyxString value;
    GetEntryValue(section, key, value, NyxString());
    return value.IsEqualTo("1") || value.IsEqualTo("yes", false) || value.IsEqualTo("true", false);
}
