// PageRequest: from CGI meta-variables and a body to a rendered page.
#include "app/PageRequest.h"

#include <cerrno>
#include <cstdio>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include "app/HtmlFileRedirect.h"
#include "app/PageLocator.h"
#include "app/PageResponse.h"
#include "app/RequestDecoder.h"
#include "app/SessionCookies.h"
#include "app/StdoutCapture.h"
#include "foundation/Sql.h"
#include "page/PageCache.h"
#include "page/VexlPage.h"

const char kIndexPageName[] = "index.vxl";
const char kPageExtension[] = ".vxl";

namespace {

constexpr std::size_t kReadChunkBytes = 64 * 1024;

NyxString ToNyx(const std::string& text)
{
    return NyxString(std::string_view(text));
}

bool StartsWithIgnoringCase(const std::string& text, const char* prefix)
{
    for (std::size_t i = 0; prefix[i] != '\0'; ++i) {
        if (i >= text.size())
            return false;
        char c = text[i];
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
        if (c != prefix[i])
            return false;
    }
    return true;
}

// A path made absolute against the present working folder, so that it keeps
// its meaning after the request changes folder.
std::string MakeAbsolute(const std::string& path)
{
    if (path.empty() || path[0] == '/')
        return path;
    char folder[PATH_MAX];
    if (!getcwd(folder, sizeof folder))
        return path;
    return std::string(folder) + "/" + path;
}

// Reads the whole body into `bytes`; the status to answer with, or 0.
int ReadBody(const RequestEnvironment& environment, BodyReader& body, std::size_t maxBytes, std::string& bytes)
{
    std::string lengthText = GetEnvironmentValue(environment, "CONTENT_LENGTH");
    if (lengthText.empty())
        return 0;
    unsigned length = 0;
    if (!ParseUnsigned32(lengthText, length))
        return lengthText.find_first_not_of("0123456789") == std::string::npos ? 413 : 400;
    if (length > maxBytes)
        return 413;
    bytes.resize(length);
    std::size_t received = 0;
    // Each pass takes at least one byte or ends the loop, so it runs at most `length` times.
    while (received < length) {
        std::size_t want = length - received;
        if (want > kReadChunkBytes)
            want = kReadChunkBytes;
        long got = body.Read(bytes.data() + received, want);
        if (got <= 0)
            return 400;
        received += static_cast<std::size_t>(got);
    }
    return 0;
}

// Decodes a POST body into `fields`; the status to answer with, or 0.
int DecodeBody(const RequestEnvironment& environment, const std::string& bytes, std::vector<FormField>& fields)
{
    std::string contentType = GetEnvironmentValue(environment, "CONTENT_TYPE");
    DecodeStatus status = DecodeStatus::Ok;
    if (IsMediaType(contentType, "application/x-www-form-urlencoded")) {
        status = DecodeUrlEncoded(bytes, fields);
    } else if (IsMediaType(contentType, "multipart/form-data")) {
        std::string boundary = GetMultipartBoundary(contentType);
        status = boundary.empty() ? DecodeStatus::Malformed : DecodeMultipart(bytes, boundary, fields);
    }
    if (status == DecodeStatus::TooManyFields)
        return 413;
    return status == DecodeStatus::Malformed ? 400 : 0;
}

// Uploaded files live in temporary files for the time of the request.
class UploadFiles {
public:
    UploadFiles() = default;
    UploadFiles(const UploadFiles&) = delete;
    UploadFiles& operator=(const UploadFiles&) = delete;
    ~UploadFiles()
    {
        for (const std::string& path : Paths)
            unlink(path.c_str());
    }

    // Writes `bytes` to a new temporary file; its path, or empty.
    std::string Keep(const std::string& bytes)
    {
        const char* folder = std::getenv("TMPDIR");
        std::string pattern = std::string(folder && *folder ? folder : "/tmp") + "/vexl-upload-XXXXXX";
        int descriptor = mkstemp(pattern.data());
        if (descriptor < 0)
            return std::string();
        Paths.push_back(pattern);
        std::size_t written = 0;
        while (written < bytes.size()) {
            ssize_t count = write(descriptor, bytes.data() + written, bytes.size() - written);
            if (count <= 0)
                break;
            written += static_cast<std::size_t>(count);
        }
        close(descriptor);
        return written == bytes.size() ? pattern : std::string();
    }

private:
    std::vector<std::string> Paths;
};

// Changes the working folder for the time of a request (relative SCRIPT
// src values are opened from it) and goes back afterwards.
class FolderChange {
public:
    explicit FolderChange(const std::string& folder)
    {
        Saved = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (chdir(folder.c_str()) != 0 && Saved >= 0) {
            close(Saved);
            Saved = -1;
        }
    }
    FolderChange(const FolderChange&) = delete;
    FolderChange& operator=(const FolderChange&) = delete;
    ~FolderChange()
    {
        if (Saved >= 0) {
            if (fchdir(Saved) != 0) {
                // Nothing better to do: the next request changes folder again.
            }
            close(Saved);
        }
    }

private:
    int Saved = -1;
};

// The server's values, always all of them, so that pages may name them.
void CreateServerVariables(VexlPage& page, const RequestEnvironment& environment, const std::string& root)
{
    std::string documentRoot = GetEnvironmentValue(environment, "DOCUMENT_ROOT");
    if (documentRoot.empty())
        documentRoot = root;
    std::string user = GetEnvironmentValue(environment, "REMOTE_USER");
    std::string password = GetEnvironmentValue(environment, "REMOTE_PASSWORD");
    std::string basicUser, basicPassword;
    if (DecodeBasicAuthorization(GetEnvironmentValue(environment, "HTTP_AUTHORIZATION"), basicUser, basicPassword)) {
        if (password.empty())
            password = basicPassword;
        if (user.empty())
            user = basicUser;
    }
    std::string url = GetEnvironmentValue(environment, "REQUEST_URI");
    if (url.empty()) {
        url = GetEnvironmentValue(environment, "SCRIPT_NAME") + GetEnvironmentValue(environment, "PATH_INFO");
        std::string query = GetEnvironmentValue(environment, "QUERY_STRING");
        if (!query.empty())
            url += "?" + query;
    }
    const std::pair<const NyxString*, std::string> values[] = {
        {&VexlPage::HTTP_DOCUMENT_ROOT, documentRoot},
        {&VexlPage::HTTP_REMOTE_ADDR, GetEnvironmentValue(environment, "REMOTE_ADDR")},
        {&VexlPage::HTTP_REMOTE_HOST, GetEnvironmentValue(environment, "REMOTE_HOST")},
        {&VexlPage::HTTP_REMOTE_USER, user},
        {&VexlPage::HTTP_REMOTE_PASSWORD, password},
        {&VexlPage::HTTP_SCRIPT_NAME, GetEnvironmentValue(environment, "SCRIPT_NAME")},
        {&VexlPage::HTTP_SCRIPT_FILE, GetEnvironmentValue(environment, "SCRIPT_FILENAME")},
        {&VexlPage::HTTP_SERVER_NAME, GetEnvironmentValue(environment, "SERVER_NAME")},
        {&VexlPage::HTTP_URL, url},
        {&VexlPage::HTTP_USER_AGENT, GetEnvironmentValue(environment, "HTTP_USER_AGENT")},
    };
    for (const auto& [name, value] : values)
        page.CreateOneVariable(*name, ToNyx(value), QuinceContext::VarListPage);
}

// The form fields, in order. A field named like a server value (HTTP_...)
// is dropped: it would otherwise join the server's text. A file part gives
// NAME (the client's file name), NAME_file (a temporary copy), NAME_size
// and NAME_type.
void CreateFieldVariables(VexlPage& page, const std::vector<FormField>& fields, UploadFiles& uploads)
{
    for (const FormField& field : fields) {
        if (StartsWithIgnoringCase(field.Name, "HTTP_"))
            continue;
        if (!field.IsFile) {
            page.CreateOneVariable(ToNyx(field.Name), ToNyx(field.Value), QuinceContext::VarListPage);
            continue;
        }
        page.CreateOneVariable(ToNyx(field.Name), ToNyx(field.FileName), QuinceContext::VarListPage);
        if (field.FileName.empty())
            continue;
        std::string copy = uploads.Keep(field.Value);
        page.CreateOneVariable(ToNyx(field.Name + "_file"), ToNyx(copy), QuinceContext::VarListPage);
        page.CreateOneVariable(ToNyx(field.Name + "_size"), ToNyx(std::to_string(field.Value.size())),
                               QuinceContext::VarListPage);
        page.CreateOneVariable(ToNyx(field.Name + "_type"), ToNyx(field.ContentType), QuinceContext::VarListPage);
    }
}

bool IsHeaderNameCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
           c == '.' || c == '!' || c == '#' || c == '$' || c == '%' || c == '&' || c == '\'' || c == '*' ||
           c == '+' || c == '^' || c == '`' || c == '|' || c == '~';
}

// "x-frame-options" comes out as "X-Frame-Options"; an unusable name as "".
std::string MakeHeaderName(const std::string& name)
{
    std::string result;
    bool startOfWord = true;
    for (char c : name) {
        if (!IsHeaderNameCharacter(c))
            return std::string();
        if (startOfWord && c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
        startOfWord = (c == '-');
        result += c;
    }
    return result;
}

// A header value may not break the header block: line ends become blanks.
std::string MakeHeaderValue(const std::string& value)
{
    std::string result = value;
    for (char& c : result) {
        if (c == '\r' || c == '\n' || c == '\0')
            c = ' ';
    }
    return result;
}

// Turns the page's header pairs into response headers: the session pair
// becomes the session cookie, "content-type" and "status" set those, the
// framing headers are dropped, every other pair goes out as it is.
void TakePageHeaders(VexlPage& page, bool secure, PageResponse& response)
{
    std::string contentType = "text/html; charset=utf-8";
    std::vector<std::pair<std::string, std::string>> others;
    int count = page.Headers.GetCount();
    for (int index = 0; index < count; ++index) {
        std::string name = page.Headers.GetName(index).ToStd();
        std::string value = MakeHeaderValue(page.Headers.GetValue(index).ToStd());
        if (name == kSessionCookieName) {
            if (page.IsSessionSettled())
                AddSessionCookies(page.SessionId, page.GetSessionSecret().ToStd(), secure, others);
        } else if (name == "content-type") {
            contentType = value;
        } else if (name == "status") {
            int status = std::atoi(value.c_str());
            if (status >= 100 && status <= 599) {
                response.Status = status;
                response.StatusFromPage = true;
                std::size_t digitsEnd = value.find_first_not_of("0123456789 ");
                response.StatusText = digitsEnd == std::string::npos ? std::string() : value;
            }
        } else if (name == "content-length" || name == "transfer-encoding" || name == "connection" ||
                   name == "keep-alive") {
            // The front end frames the body itself.
        } else {
            std::string headerName = MakeHeaderName(name);
            if (!headerName.empty())
                others.emplace_back(headerName, value);
        }
    }
    response.Headers.emplace_back("Content-Type", contentType);
    for (auto& header : others)
        response.Headers.push_back(std::move(header));
}

// The page a request is for: the one its _htmlfile names, else the one its
// URL leads to (`ownPage`, when it leads to one).
struct ChosenPage {
    std::string Path;  // empty when there is none: Status and Message say why
    std::string OwnPage;
    int Status = 0;
    std::string Message;
};

// The page file the request names: by the last non-empty _htmlfile. With
// `redirecting` (RedirectHtmlFile), a post that a redirect sent on to another
// folder holds a name that counts from the first page's folder; the redirect
// named the page again in the query (the first `queryFields` fields), which
// then counts instead.
ChosenPage ChoosePage(const RequestEnvironment& environment, const std::vector<FormField>& fields,
                      std::size_t queryFields, bool redirecting, const std::string& root,
                      const std::string& rootAsGiven)
{
    ChosenPage chosen;
    // The page the URL's path leads to: PATH_TRANSLATED behind a cgi-bin
    // program, or SCRIPT_FILENAME where the server runs pages through vexl.
    std::string serverPath;
    if (!GetEnvironmentValue(environment, "PATH_INFO").empty())
        serverPath = GetEnvironmentValue(environment, "PATH_TRANSLATED");
    std::string scriptFile = GetEnvironmentValue(environment, "SCRIPT_FILENAME");
    // Apache's mod_proxy_fcgi names the file with its handler in front:
    // "proxy:fcgi://localhost/srv/site/index.vxl"; the path begins behind the host.
    if (scriptFile.rfind("proxy:", 0) == 0) {
        const std::size_t scheme = scriptFile.find("://");
        const std::size_t path = scheme == std::string::npos ? std::string::npos : scriptFile.find('/', scheme + 3);
        scriptFile = path == std::string::npos ? std::string() : scriptFile.substr(path);
    }
    if (serverPath.empty() && HasExtension(scriptFile, kPageExtension))
        serverPath = scriptFile;

    std::string named;  // the last non-empty _htmlfile; form fields follow the query's
    std::string namedInQuery;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (fields[i].Name != "_htmlfile" || fields[i].Value.empty())
            continue;
        named = fields[i].Value;
        if (i < queryFields)
            namedInQuery = named;
    }

    Location location;
    std::string base = root;
    if (!serverPath.empty()) {
        location = LocateServerPath(root, rootAsGiven, serverPath);
        if (location.Status == LocateStatus::Found)
            base = location.IsDirectory ? location.Path : FolderOf(location.Path);
        if (location.Status == LocateStatus::Found && !location.IsDirectory)
            chosen.OwnPage = location.Path;
    }
    if (!named.empty()) {
        location = LocateInRoot(root, base, named);
        if (redirecting && location.Status == LocateStatus::NotFound && !namedInQuery.empty()) {
            const Location again = LocateInRoot(root, base, namedInQuery);
            if (again.Status == LocateStatus::Found && again.Path == chosen.OwnPage)
                location = again;
        }
    }
    else if (serverPath.empty())
        location = LocateInRoot(root, root, "/");
    if (location.Status == LocateStatus::Found && location.IsDirectory)
        location = LocateInRoot(root, location.Path, kIndexPageName);

    if (location.Status == LocateStatus::Forbidden) {
        chosen.Status = 403;
        chosen.Message = "The page lies outside the site or may not be shown.";
    } else if (location.Status == LocateStatus::NotFound || location.IsDirectory) {
        chosen.Status = 404;
        chosen.Message = "There is no such page.";
    } else if (!HasExtension(location.Path, kPageExtension)) {
        chosen.Status = 403;
        chosen.Message = std::string("Only ") + kPageExtension + " files are pages.";
    } else {
        chosen.Path = location.Path;
    }
    return chosen;
}

// The request's fields, from its query and, for a POST, its body; the
// answer instead when the method or the fields are refused.
std::optional<PageResponse> ReadFields(const RequestEnvironment& environment, BodyReader& body,
                                       const HandlerSettings& settings, std::vector<FormField>& fields,
                                       std::size_t& queryFields)
{
    std::string method = GetEnvironmentValue(environment, "REQUEST_METHOD");
    if (method.empty())
        method = "GET";
    if (method != "GET" && method != "HEAD" && method != "POST") {
        PageResponse response = MakeErrorResponse(405, "Pages answer GET, HEAD and POST.");
        response.Headers.emplace_back("Allow", "GET, HEAD, POST");
        return response;
    }
    if (DecodeUrlEncoded(GetEnvironmentValue(environment, "QUERY_STRING"), fields) != DecodeStatus::Ok)
        return MakeErrorResponse(413, "The request carries too many fields.");
    queryFields = fields.size();
    if (method != "POST")
        return std::nullopt;
    std::string bytes;
    int status = ReadBody(environment, body, settings.MaxBodyBytes, bytes);
    if (status == 0)
        status = DecodeBody(environment, bytes, fields);
    if (status == 413)
        return MakeErrorResponse(413, "The request body is too large.");
    if (status != 0)
        return MakeErrorResponse(status, "The request body could not be read.");
    return std::nullopt;
}

// After the walk: the page's headers go to `response`, and a session
// problem, a limit or a failed write to the log. A page that must not pass
// for a finished one gives the answer to send instead.
std::optional<PageResponse> FinishPage(VexlPage& page, const RequestEnvironment& environment,
                                       const std::string& pagePath, PageResponse& response)
{
    // Over HTTPS the cookie is kept from plain-text requests.
    std::string https = GetEnvironmentValue(environment, "HTTPS");
    TakePageHeaders(page, https == "on" || https == "1", response);
    std::string sessionProblem = page.GetSessionProblem().ToStd();
    if (!sessionProblem.empty())
        std::fprintf(stderr, "vexl: %s: %s\n", pagePath.c_str(), sessionProblem.c_str());
    // A limit that ended the page goes to the log too: the visitor saw its message.
    const char* endedBy = page.Walks->EndedBy;
    if (page.Walks->Ended && page.GetWriteProblem().IsEmpty())
        std::fprintf(stderr, "vexl: %s: the page was ended by its limit %s\n", pagePath.c_str(), endedBy);
    const std::string writeProblem = page.GetWriteProblem().ToStd();
    if (!writeProblem.empty()) {
        // A page cut short must not pass for a finished one.
        std::fprintf(stderr, "vexl: %s: %s\n", pagePath.c_str(), writeProblem.c_str());
        return MakeErrorResponse(500, "The page could not be finished: the server could not write a file it needed.");
    }
    if (page.HasSessionFailed()) {
        // Its changes are not kept: the visitor must not take the page for done.
        PageResponse busy = MakeErrorResponse(503, "The page's session is busy or could not be stored: " + sessionProblem +
                                                       ". Try again in a moment.");
        busy.Headers.emplace_back("Retry-After", "2");
        return busy;
    }
    return std::nullopt;
}

}  // namespace

PageResponse RenderPageRequest(const RequestEnvironment& environment, BodyReader& body,
                               const HandlerSettings& settings)
{
    std::string root = ResolveRootFolder(settings.Root);
    if (root.empty())
        return MakeErrorResponse(500, "The document root is not set or is not a folder.");

    std::vector<FormField> fields;
    std::size_t queryFields = 0;
    if (std::optional<PageResponse> refused = ReadFields(environment, body, settings, fields, queryFields))
        return std::move(*refused);

    std::string iniPath = MakeAbsolute(settings.IniPath);
    const bool redirects = RedirectsHtmlFile(iniPath);
    const ChosenPage chosen = ChoosePage(environment, fields, queryFields, redirects, root, settings.Root);
    if (chosen.Path.empty())
        return MakeErrorResponse(chosen.Status, chosen.Message);
    const std::string& pagePath = chosen.Path;
    if (redirects && !chosen.OwnPage.empty() && chosen.OwnPage != pagePath)
        return RedirectToNamedPage(environment, root, chosen.OwnPage, pagePath);

    SessionCookieClaim session = ReadSessionCookies(GetEnvironmentValue(environment, "HTTP_COOKIE"));

    // A database server's URI is no file name, and stays as it is.
    std::string translationPath = settings.TranslationPath;
    if (GenSqlConnection::TypeOfPlace(ToNyx(translationPath)) == GenSqlConnection::Sqlite)
        translationPath = MakeAbsolute(translationPath);
    FolderChange folderChange(FolderOf(pagePath));
    UploadFiles uploads;
    PageResponse response;
    NyxString output;
    std::string stray;
    {
        // The order of calls every calling executable keeps.
        VexlPage page;
        if (!iniPath.empty())
            page.SetIniPath(ToNyx(iniPath));
        if (settings.KeepParsedPages)
            page.UsePageCache(PageCache::Shared());
        page.SetOutput(&output);
        page.SetFile(ToNyx(pagePath));
        page.SiteRoot = ToNyx(root);
        // The session is settled only if a script uses one: the others cost nothing.
        page.ClaimSession(session.Id, ToNyx(session.Secret), settings.SessionExpirySeconds);
        if (!translationPath.empty())
            page.SetTranslationFile(ToNyx(translationPath));
        CreateServerVariables(page, environment, root);
        CreateFieldVariables(page, fields, uploads);

        StdoutCapture capture;
        bool capturing = capture.Begin();
        page.Process();
        if (capturing)
            stray = capture.End();
        if (std::optional<PageResponse> failed = FinishPage(page, environment, pagePath, response))
            return std::move(*failed);
    }
    response.Body.reserve(stray.size() + output.GetSize());
    response.Body = stray;
    response.Body.append(output.GetString(), output.GetSize());
    return response;
}

bool HandleCgiRequest(const RequestEnvironment& environment, BodyReader& body, ResponseWriter& writer,
                      const HandlerSettings& settings)
{
    PageResponse response = RenderPageRequest(environment, body, settings);
    bool withBody = GetEnvironmentValue(environment, "REQUEST_METHOD") != "HEAD";
    return WriteCgiResponse(response, writer, withBody);
}
