// PageLocator: confinement of requested paths to the document root.
#include "app/PageLocator.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <sys/stat.h>
#include <vector>

namespace {

// A path of more segments than this is refused rather than walked.
constexpr std::size_t kMaxPathSegments = 256;

// realpath(3) into a std::string; empty on failure with errno set.
std::string RealPath(const std::string& path)
{
    char* resolved = realpath(path.c_str(), nullptr);
    if (!resolved)
        return std::string();
    std::string result(resolved);
    std::free(resolved);
    return result;
}

bool IsInside(const std::string& root, const std::string& path)
{
    if (path == root)
        return true;
    if (root == "/")
        return !path.empty() && path[0] == '/';
    return path.size() > root.size() && path.compare(0, root.size(), root) == 0 && path[root.size()] == '/';
}

// Splits the part of `path` behind the root into segments.
std::vector<std::string> SplitSegments(std::string_view path)
{
    std::vector<std::string> segments;
    while (!path.empty()) {
        std::size_t slash = path.find('/');
        std::string_view segment = path.substr(0, slash);
        path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
        if (!segment.empty())
            segments.emplace_back(segment);
    }
    return segments;
}

}  // namespace

std::string ResolveRootFolder(const std::string& folder)
{
    if (folder.empty())
        return std::string();
    std::string real = RealPath(folder);
    struct stat status;
    if (real.empty() || stat(real.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return std::string();
    return real;
}

Location LocateInRoot(const std::string& root, const std::string& base, std::string_view requested)
{
    Location location;
    location.Status = LocateStatus::Forbidden;
    if (requested.find('\0') != std::string_view::npos || !IsInside(root, base))
        return location;

    // Resolve "." and ".." in the text first, counting from the root, so a
    // climb above the root is refused even where the target does not exist.
    std::vector<std::string> segments;
    if (requested.empty() || requested.front() != '/')
        segments = SplitSegments(std::string_view(base).substr(root == "/" ? 0 : root.size()));
    std::vector<std::string> requestedSegments = SplitSegments(requested);
    if (segments.size() + requestedSegments.size() > kMaxPathSegments)
        return location;
    for (std::string& segment : requestedSegments) {
        if (segment == ".")
            continue;
        if (segment == "..") {
            if (segments.empty())
                return location;
            segments.pop_back();
            continue;
        }
        if (segment.front() == '.')
            return location;
        segments.push_back(std::move(segment));
    }
    std::string candidate = root == "/" ? std::string() : root;
    for (const std::string& segment : segments)
        candidate += "/" + segment;
    if (candidate.empty())
        candidate = "/";

    // Then follow links, and check where they really lead.
    std::string real = RealPath(candidate);
    if (real.empty()) {
        location.Status = (errno == EACCES || errno == ELOOP) ? LocateStatus::Forbidden : LocateStatus::NotFound;
        return location;
    }
    if (!IsInside(root, real))
        return location;
    struct stat status;
    if (stat(real.c_str(), &status) != 0) {
        location.Status = LocateStatus::NotFound;
        return location;
    }
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))
        return location;
    location.Status = LocateStatus::Found;
    location.Path = real;
    location.IsDirectory = S_ISDIR(status.st_mode);
    return location;
}

std::string FolderOf(const std::string& path)
{
    std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    if (slash == 0)
        return "/";
    return path.substr(0, slash);
}

bool HasExtension(std::string_view path, std::string_view extension)
{
    if (path.size() < extension.size())
        return false;
    std::string_view tail = path.substr(path.size() - extension.size());
    for (std::size_t i = 0; i < tail.size(); ++i) {
        char a = tail[i], b = extension[i];
        if (a >= 'A' && a <= 'Z')
            a = static_cast<char>(a - 'A' + 'a');
        if (b >= 'A' && b <= 'Z')
            b = static_cast<char>(b - 'A' + 'a');
        if (a != b)
            return false;
    }
    return true;
}

Location LocateServerPath(const std::string& root, const std::string& rootAsGiven, const std::string& path)
{
    for (std::string prefix : {rootAsGiven, root}) {
        while (prefix.size() > 1 && prefix.back() == '/')
            prefix.pop_back();
        if (prefix.empty() || prefix == "/")
            continue;
        if (path.size() > prefix.size() && path.compare(0, prefix.size(), prefix) == 0 && path[prefix.size()] == '/')
            return LocateInRoot(root, root, std::string_view(path).substr(prefix.size()));
    }
    // Neither form of the root is a prefix: only a path that really leads
    // inside the root is taken.
    Location location;
    std::string real = RealPath(path);
    if (real.empty()) {
        location.Status = LocateStatus::NotFound;
        return location;
    }
    if (!IsInside(root, real)) {
        location.Status = LocateStatus::Forbidden;
        return location;
    }
    return LocateInRoot(root, root, std::string_view(real).substr(root == "/" ? 0 : root.size()));
}
