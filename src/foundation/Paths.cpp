// Paths on POSIX: textual completion, folder search, temporary files.
#include "foundation/Paths.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "foundation/NativePath.h"

namespace {

// getcwd and readlink are asked with growing buffers up to this size; a
// longer path is not worth supporting.
constexpr std::size_t kMaxSystemPathBytes = 64 * 1024;
constexpr std::size_t kFirstPathBufferBytes = 4096;
constexpr char kTemporaryNameTail[] = "XXXXXX";  // replaced by mkstemp

std::string WorkingDirectory() {
    for (std::size_t size = kFirstPathBufferBytes; size <= kMaxSystemPathBytes; size *= 2) {
        std::string buffer(size, '\0');
        if (getcwd(buffer.data(), buffer.size()) != nullptr) {
            buffer.resize(std::char_traits<char>::length(buffer.c_str()));
            return buffer;
        }
        if (errno != ERANGE) break;
    }
    return std::string();
}

bool IsDirectory(const char* path) {
    struct stat facts;
    return stat(path, &facts) == 0 && S_ISDIR(facts.st_mode);
}

bool IsRegularFile(const std::string& path) {
    struct stat facts;
    return path.find('\0') == std::string::npos && stat(path.c_str(), &facts) == 0 &&
           S_ISREG(facts.st_mode);
}

}  // namespace

// The path's components are pushed onto a stack: "." and empty components
// are dropped, ".." pops one (and does nothing at the root).
NyxString CompletePath(const NyxString& path) {
    std::string_view text = path.View();
    std::string full;
    if (text.empty() || text.front() != '/') {
        full = WorkingDirectory();
        // Without a working folder the result stays relative rather than
        // being rooted at a wrong place.
        if (!full.empty()) full += '/';
    }
    const bool absolute = !full.empty() || (!text.empty() && text.front() == '/');
    full.append(text);

    std::vector<std::string_view> components;
    std::string_view rest = full;
    while (!rest.empty()) {
        std::size_t slash = rest.find('/');
        std::string_view component = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
        if (component.empty() || component == ".") continue;
        if (component == "..") {
            if (!components.empty() && (absolute || components.back() != "..")) {
                components.pop_back();
            } else if (!absolute) {
                components.push_back(component);
            }
            continue;
        }
        components.push_back(component);
    }

    std::string result;
    for (std::string_view component : components) {
        if (absolute || !result.empty()) result += '/';
        result.append(component);
    }
    if (result.empty()) result = absolute ? "/" : ".";
    return NyxString(std::string_view(result));
}

NyxString PathSearch(const NyxString& directories, const NyxString& name) {
    std::string_view wanted = name.View();
    if (wanted.empty()) return NyxString();
    if (wanted.front() == '/') {
        return IsRegularFile(std::string(wanted)) ? name : NyxString();
    }
    std::string_view list = directories.View();
    // A ';' ends an entry, so a final ';' adds no entry; an empty list is
    // the working folder alone.
    if (!list.empty() && list.back() == ';') list.remove_suffix(1);
    while (true) {
        std::size_t separator = list.find(';');
        std::string_view folder = list.substr(0, separator);
        std::string candidate;
        if (!folder.empty()) {
            candidate.assign(folder);
            if (candidate.back() != '/') candidate += '/';
        }
        candidate.append(wanted);
        if (IsRegularFile(candidate)) return NyxString(std::string_view(candidate));
        if (separator == std::string_view::npos) break;
        list.remove_prefix(separator + 1);
    }
    return NyxString();
}

NyxString GetTemporaryFilePath(const NyxString& prefix) {
    std::string pattern = GetTemporaryDirectory().ToStd();
    if (pattern != "/") pattern += '/';
    // The prefix names a file in the temporary folder, never a folder below it.
    for (char c : prefix.View()) pattern += (c == '/' || c == '\0') ? '_' : c;
    pattern += kTemporaryNameTail;
    int handle = mkostemp(pattern.data(), O_CLOEXEC);  // creates the file 0600
    if (handle < 0) return NyxString();
    close(handle);
    return NyxString(std::string_view(pattern));
}

namespace {

NyxString ReadExecutablePath() {
    for (std::size_t size = kFirstPathBufferBytes; size <= kMaxSystemPathBytes; size *= 2) {
        std::string buffer(size, '\0');
        ssize_t length = readlink("/proc/self/exe", buffer.data(), buffer.size());
        if (length < 0) return NyxString();
        if (static_cast<std::size_t>(length) < buffer.size()) {
            buffer.resize(static_cast<std::size_t>(length));
            return NyxString(std::string_view(buffer));
        }
    }
    return NyxString();
}

}  // namespace

// The program does not move while it runs: read once.
NyxString GetExecutablePath() {
    static const NyxString path = ReadExecutablePath();
    return path;
}

NyxString GetTemporaryDirectory() {
    const char* variable = std::getenv("TMPDIR");
    if (variable == nullptr || variable[0] == '\0' || !IsDirectory(variable)) return NyxString("/tmp");
    std::string folder(variable);
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    return NyxString(std::string_view(folder));
}

NyxString RealPath(const NyxString& path) {
    char resolved[PATH_MAX];
    const std::string text = path.ToStd();
    if (realpath(text.c_str(), resolved) != nullptr) return NyxString(resolved);
    const std::size_t slash = text.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : text.substr(0, slash);
    const std::string name = slash == std::string::npos ? text : text.substr(slash + 1);
    if (name.empty() || name == "." || name == ".." || realpath(folder.c_str(), resolved) == nullptr) return NyxString();
    std::string joined = resolved;
    if (joined != "/") joined += '/';
    joined += name;
    return NyxString(joined.c_str());
}
