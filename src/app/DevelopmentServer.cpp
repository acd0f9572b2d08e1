// DevelopmentServer: accept loop, one thread per connection (bounded), and
// the routing of a request to a page (run as `vexl cgi` in a process of its
// own), a static file or an error.
#include "app/DevelopmentServer.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "app/ContentTypes.h"
#include "app/DescriptorStreams.h"
#include "app/HttpRequestHead.h"
#include "app/PageLocator.h"
#include "app/PageRequest.h"
#include "app/PageResponse.h"
#include "app/RequestDecoder.h"
#include "foundation/IniFile.h"
#include "foundation/Paths.h"
#include "foundation/Process.h"
#include "quince/Limits.h"

namespace {

using Clock = std::chrono::steady_clock;

// Deep enough that a burst of connections waits in the queue instead of
// having its SYNs dropped and retried a second later.
constexpr int kListenBacklog = 1024;
constexpr std::size_t kReadChunkBytes = 16 * 1024;
// After an early answer, what the client still sends is read and dropped for
// this long and up to this much, so that the answer is not lost to a reset.
constexpr int kLingerMilliseconds = 2000;
constexpr std::size_t kMaxLingerBytes = 8 * 1024 * 1024;

std::atomic<int> OpenConnections{0};
std::mutex LogMutex;

// Turns for running a page's process: at most kMaxPageProcesses at once.
class PageTurns {
public:
    bool Take(int waitMilliseconds)
    {
        std::unique_lock<std::mutex> lock(Mutex);
        if (!Freed.wait_for(lock, std::chrono::milliseconds(waitMilliseconds), [this] { return Running < kMaxPageProcesses; }))
            return false;
        ++Running;
        return true;
    }
    void Give()
    {
        {
            std::lock_guard<std::mutex> lock(Mutex);
            --Running;
        }
        Freed.notify_one();
    }

private:
    std::mutex Mutex;
    std::condition_variable Freed;
    int Running = 0;
};
PageTurns Turns;

// Closes refused connections gently on a thread of its own, so that the
// accept loop never waits: the 503 is sent, writing stops, and what the
// client still sends is read and dropped for a while, so that the close does
// not turn into a reset that loses the 503.
class GentleCloser {
public:
    static constexpr std::size_t kMostWaiting = 4096;

    void Add(int socket)
    {
        shutdown(socket, SHUT_WR);
        std::lock_guard<std::mutex> lock(Mutex);
        if (Waiting.size() >= kMostWaiting) {
            close(socket);
            return;
        }
        Waiting.push_back({socket, Clock::now() + std::chrono::milliseconds(kLingerMilliseconds)});
        if (!Started) {
            Started = true;
            std::thread([this] { Run(); }).detach();
        }
        Added.notify_one();
    }

private:
    struct Entry {
        int Socket;
        Clock::time_point Deadline;
    };

    void Run()
    {
        std::vector<pollfd> fds;
        char chunk[kReadChunkBytes];
        while (true) {
            std::vector<Entry> entries;
            {
                std::unique_lock<std::mutex> lock(Mutex);
                Added.wait(lock, [this] { return !Waiting.empty(); });
                entries.swap(Waiting);
            }
            fds.clear();
            for (const Entry& entry : entries)
                fds.push_back({entry.Socket, POLLIN, 0});
            poll(fds.data(), fds.size(), 50);
            const Clock::time_point now = Clock::now();
            std::vector<Entry> kept;
            for (std::size_t i = 0; i < entries.size(); ++i) {
                bool done = now >= entries[i].Deadline;
                if (!done && (fds[i].revents & (POLLIN | POLLHUP | POLLERR)) != 0)
                    done = recv(entries[i].Socket, chunk, sizeof chunk, MSG_DONTWAIT) <= 0;
                if (done)
                    close(entries[i].Socket);
                else
                    kept.push_back(entries[i]);
            }
            std::lock_guard<std::mutex> lock(Mutex);
            Waiting.insert(Waiting.end(), kept.begin(), kept.end());
        }
    }

    std::mutex Mutex;
    std::condition_variable Added;
    std::vector<Entry> Waiting;
    bool Started = false;
};
GentleCloser RefusedConnections;
// A page's process gets this much time beyond the page's own MaxRunSeconds,
// which it enforces itself, before it is killed from here.
constexpr unsigned kChildGraceSeconds = 10;
// A page whose configuration sets no time limit still ends here.
constexpr unsigned kChildLongestSeconds = 600;
// The variables of the server's own environment a page's process inherits.
constexpr const char* kInheritedVariables[] = {"PATH", "HOME", "TMPDIR", "TZ", "LANG", "LC_ALL", "LD_LIBRARY_PATH",
                                               "ASAN_OPTIONS", "UBSAN_OPTIONS"};

int MillisecondsLeft(Clock::time_point deadline)
{
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

enum class ReadOutcome { Ok, Closed, TimedOut, TooLarge };

// Reads until `buffer` holds a complete head; `headEnd` is the offset behind
// the empty line. Nothing at all within the idle time is a quiet close.
ReadOutcome ReadHead(int socket, std::string& buffer, std::size_t& headEnd)
{
    Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(kIdleTimeoutMilliseconds);
    bool started = !buffer.empty();
    if (started)
        deadline = Clock::now() + std::chrono::milliseconds(kHeadTimeoutMilliseconds);
    char chunk[kReadChunkBytes];
    // Each pass reads at least one byte or returns; the buffer is bounded.
    while (true) {
        // A head that ends within the buffer still counts its whole size:
        // one large read must not let a head past the limit.
        std::size_t end = buffer.find("\r\n\r\n");
        if (end != std::string::npos) {
            headEnd = end + 4;
            return headEnd > kMaxRequestHeadBytes ? ReadOutcome::TooLarge : ReadOutcome::Ok;
        }
        end = buffer.find("\n\n");
        if (end != std::string::npos) {
            headEnd = end + 2;
            return headEnd > kMaxRequestHeadBytes ? ReadOutcome::TooLarge : ReadOutcome::Ok;
        }
        if (buffer.size() > kMaxRequestHeadBytes)
            return ReadOutcome::TooLarge;
        int left = MillisecondsLeft(deadline);
        if (left == 0 || !WaitForDescriptor(socket, false, left))
            return started ? ReadOutcome::TimedOut : ReadOutcome::Closed;
        ssize_t got = recv(socket, chunk, sizeof chunk, 0);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return started ? ReadOutcome::TimedOut : ReadOutcome::Closed;
        if (!started) {
            started = true;
            deadline = Clock::now() + std::chrono::milliseconds(kHeadTimeoutMilliseconds);
        }
        buffer.append(chunk, static_cast<std::size_t>(got));
    }
}

// Fills `body` with `length` bytes, taking what `buffer` already holds first.
bool ReadBody(int socket, std::string& buffer, std::size_t length, std::string& body)
{
    std::size_t fromBuffer = buffer.size() < length ? buffer.size() : length;
    body.assign(buffer, 0, fromBuffer);
    buffer.erase(0, fromBuffer);
    Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(kBodyTimeoutMilliseconds);
    char chunk[kReadChunkBytes];
    while (body.size() < length) {
        int left = MillisecondsLeft(deadline);
        if (left == 0 || !WaitForDescriptor(socket, false, left))
            return false;
        std::size_t want = length - body.size();
        ssize_t got = recv(socket, chunk, want < sizeof chunk ? want : sizeof chunk, 0);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        body.append(chunk, static_cast<std::size_t>(got));
    }
    return true;
}

struct Exchange {
    HttpRequestHead Head;
    std::string Path;   // decoded
    std::string Query;
    std::string Body;
    std::string PeerAddress;
    int PeerPort = 0;
    int LocalPort = 0;
};

bool HasHeader(const PageResponse& response, const char* name)
{
    for (const auto& header : response.Headers) {
        if (header.first.size() != std::char_traits<char>::length(name))
            continue;
        bool same = true;
        for (std::size_t i = 0; i < header.first.size() && same; ++i)
            same = std::tolower(static_cast<unsigned char>(header.first[i])) == std::tolower(static_cast<unsigned char>(name[i]));
        if (same)
            return true;
    }
    return false;
}

// The seconds a page may run by its configuration (0: no limit).
unsigned PageSeconds(const HandlerSettings& settings)
{
    if (settings.IniPath.empty())
        return quince::kMaxRunSeconds;
    NyxString value;
    if (!IniFile::Load(NyxString(settings.IniPath.c_str()))->GetEntryValue("QuinceConfig", "MaxRunSeconds", value, NyxString()))
        return quince::kMaxRunSeconds;
    return static_cast<unsigned>(IniFile::ParseCount(value, quince::kMaxRunSeconds));
}

// Splits the CGI answer of a page's process ("Status:" and header lines, an
// empty line, the body) into a response.
bool ParseCgiAnswer(const std::string& answer, PageResponse& response)
{
    std::size_t end = answer.find("\r\n\r\n");
    std::size_t bodyStart = end + 4;
    if (end == std::string::npos) {
        end = answer.find("\n\n");
        if (end == std::string::npos)
            return false;
        bodyStart = end + 2;
    }
    std::size_t position = 0;
    while (position < end) {
        std::size_t lineEnd = answer.find('\n', position);
        if (lineEnd == std::string::npos || lineEnd > end)
            lineEnd = end;
        std::string line = answer.substr(position, lineEnd - position);
        position = lineEnd + 1;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos)
            return false;
        std::string name = line.substr(0, colon);
        std::size_t valueStart = colon + 1;
        while (valueStart < line.size() && line[valueStart] == ' ')
            ++valueStart;
        std::string value = line.substr(valueStart);
        std::string lower;
        for (char c : name)
            lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (lower == "status") {
            response.Status = std::atoi(value.c_str());
            response.StatusText = value;
            response.StatusFromPage = true;
        } else if (lower != "content-length") {
            response.Headers.emplace_back(std::move(name), std::move(value));
        }
    }
    response.Body = answer.substr(bodyStart);
    return response.Status >= 100 && response.Status <= 999;
}

// Runs the page as `vexl cgi` in a process of its own: pages run side by
// side, a page that runs away or crashes takes nothing else with it, and the
// working folder and standard output of this process stay untouched.
PageResponse RunPageProcess(const RequestEnvironment& request, const std::string& body, const HandlerSettings& settings)
{
    const std::string program = GetExecutablePath().ToStd();
    if (program.empty())
        return MakeErrorResponse(500, "The server cannot find its own program to run the page.");
    std::vector<std::string> arguments = {"cgi", "--root", settings.Root, "--max-body", std::to_string(settings.MaxBodyBytes),
                                          "--expiry", std::to_string(settings.SessionExpirySeconds)};
    if (!settings.IniPath.empty()) {
        arguments.push_back("--ini");
        arguments.push_back(settings.IniPath);
    }
    if (!settings.TranslationPath.empty()) {
        arguments.push_back("--translations");
        arguments.push_back(settings.TranslationPath);
    }
    std::vector<std::string> environment;
    for (const auto& [name, value] : request)
        environment.push_back(name + "=" + value);
    for (const char* name : kInheritedVariables) {
        const char* value = std::getenv(name);
        if (value != nullptr)
            environment.push_back(std::string(name) + "=" + value);
    }
    const unsigned pageSeconds = PageSeconds(settings);
    const unsigned seconds = pageSeconds == 0 ? kChildLongestSeconds : pageSeconds + kChildGraceSeconds;
    // The page's own MaxOutputBytes bounds its answer; this is the backstop.
    constexpr std::size_t kMostAnswerBytes = std::size_t{1} << 30;
    if (!Turns.Take(kPageTurnWaitMilliseconds))
        return MakeErrorResponse(503, "The server is busy with other pages; try again.");
    const PipedRun run = RunPiped(program, arguments, environment, body, seconds * 1000, kMostAnswerBytes);
    Turns.Give();
    if (!run.Started)
        return MakeErrorResponse(500, "The page's process could not be started.");
    if (run.TimedOut)
        return MakeErrorResponse(500, "The page did not finish within " + std::to_string(seconds) + " seconds and was stopped.");
    if (run.OutputCut)
        return MakeErrorResponse(500, "The page wrote more than the server takes.");
    PageResponse response;
    if (!ParseCgiAnswer(run.Output, response))
        return MakeErrorResponse(500, "The page's process ended without an answer (exit status " +
                                          std::to_string(run.ExitStatus) + ").");
    return response;
}

std::string EnvironmentName(const std::string& fieldName)
{
    std::string name = "HTTP_";
    for (char c : fieldName)
        name += c == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return name;
}

PageResponse RenderPage(const ServerConfig& config, const std::string& root, const Exchange& exchange,
                        const std::string& pagePath, const std::string& scriptName)
{
    RequestEnvironment environment;
    for (const auto& [name, value] : exchange.Head.Fields) {
        if (name == "content-length" || name == "content-type" || name == "proxy")
            continue;  // "Proxy" must not become HTTP_PROXY
        environment[EnvironmentName(name)] = GetHeaderField(exchange.Head, name);
    }
    std::string host = GetHeaderField(exchange.Head, "host");
    std::size_t colon = host.rfind(':');
    if (colon != std::string::npos && host.find(']', colon) == std::string::npos)
        host.resize(colon);
    environment["GATEWAY_INTERFACE"] = "CGI/1.1";
    environment["SERVER_SOFTWARE"] = "vexl-serve";
    environment["SERVER_PROTOCOL"] = "HTTP/1." + std::to_string(exchange.Head.MinorVersion);
    environment["SERVER_NAME"] = host.empty() ? "127.0.0.1" : host;
    environment["SERVER_PORT"] = std::to_string(exchange.LocalPort);
    environment["REMOTE_ADDR"] = exchange.PeerAddress;
    environment["REMOTE_PORT"] = std::to_string(exchange.PeerPort);
    environment["REQUEST_METHOD"] = exchange.Head.Method;
    environment["REQUEST_URI"] = exchange.Head.Target;
    environment["QUERY_STRING"] = exchange.Query;
    environment["DOCUMENT_ROOT"] = root;
    environment["SCRIPT_NAME"] = scriptName;
    environment["SCRIPT_FILENAME"] = pagePath;
    if (!exchange.Body.empty() || exchange.Head.Method == "POST") {
        environment["CONTENT_LENGTH"] = std::to_string(exchange.Body.size());
        environment["CONTENT_TYPE"] = GetHeaderField(exchange.Head, "content-type");
    }
    HandlerOptions options = config.Options;
    options.Root = root;
    const HandlerSettings settings = ResolveHandlerSettings(options, environment);
    PageResponse response = RunPageProcess(environment, exchange.Body, settings);
    if (response.Status == 200 && !response.StatusFromPage && HasHeader(response, "Location"))
        response.Status = 302;
    return response;
}

PageResponse ServeStaticFile(const std::string& path, const std::string& method)
{
    const char* contentType = FindStaticContentType(path);
    if (!contentType)
        return MakeErrorResponse(403, "Files of this kind are not served.");
    if (method != "GET" && method != "HEAD") {
        PageResponse response = MakeErrorResponse(405, "Files answer GET and HEAD.");
        response.Headers.emplace_back("Allow", "GET, HEAD");
        return response;
    }
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file)
        return MakeErrorResponse(403, "The file cannot be read.");
    struct stat status;
    if (fstat(fileno(file), &status) != 0 || status.st_size > kMaxStaticFileBytes) {
        std::fclose(file);
        return MakeErrorResponse(403, "The file is too large for the development server.");
    }
    PageResponse response;
    response.Headers.emplace_back("Content-Type", contentType);
    response.Body.resize(static_cast<std::size_t>(status.st_size));
    std::size_t got = std::fread(response.Body.data(), 1, response.Body.size(), file);
    response.Body.resize(got);
    std::fclose(file);
    return response;
}

// Chooses what answers the request: a page, a file, a redirect or an error.
PageResponse Route(const ServerConfig& config, const std::string& root, const Exchange& exchange)
{
    Location location = LocateInRoot(root, root, exchange.Path);
    if (location.Status == LocateStatus::Forbidden)
        return MakeErrorResponse(403, "This path may not be served.");
    if (location.Status == LocateStatus::NotFound)
        return MakeErrorResponse(404, "There is no such file.");
    std::string scriptName = exchange.Path;
    if (location.IsDirectory) {
        if (exchange.Path.empty() || exchange.Path.back() != '/') {
            PageResponse response = MakeErrorResponse(301, "The folder is at its name with a slash.");
            response.Headers.emplace_back("Location",
                                          exchange.Path + "/" + (exchange.Query.empty() ? "" : "?" + exchange.Query));
            return response;
        }
        location = LocateInRoot(root, location.Path, kIndexPageName);
        if (location.Status != LocateStatus::Found || location.IsDirectory)
            return MakeErrorResponse(404, "This folder has no index.vxl.");
        scriptName += kIndexPageName;
    }
    if (HasExtension(location.Path, kPageExtension))
        return RenderPage(config, root, exchange, location.Path, scriptName);
    return ServeStaticFile(location.Path, exchange.Head.Method);
}

// A request's own bytes in the log, with control characters, blanks and
// backslashes as \xNN: a "%0a" in a path must not forge a line of its own.
std::string ForLog(const std::string& text)
{
    static const char kHex[] = "0123456789abcdef";
    std::string escaped;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte <= 0x20 || byte == 0x7f || c == '\\') {
            escaped += "\\x";
            escaped += kHex[byte >> 4];
            escaped += kHex[byte & 15];
        } else {
            escaped += c;
        }
    }
    return escaped;
}

void LogRequest(const std::string& method, const std::string& path, int status, std::size_t bytes,
                Clock::time_point start)
{
    long long milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    std::lock_guard<std::mutex> lock(LogMutex);
    std::fprintf(stderr, "%s %s %d %zu %lld\n", ForLog(method).c_str(), ForLog(path).c_str(), status, bytes,
                 milliseconds);
}

bool SendResponse(int socket, const PageResponse& response, bool withBody, bool keepAlive)
{
    std::string head = "HTTP/1.1 " + GetStatusText(response) + "\r\n";
    for (const auto& [name, value] : response.Headers)
        head += name + ": " + value + "\r\n";
    if (!HasHeader(response, "Cache-Control"))
        head += "Cache-Control: no-store\r\n";
    head += "Content-Length: " + std::to_string(response.Body.size()) + "\r\n";
    head += keepAlive ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n";
    DescriptorWriter writer(socket, kWriteTimeoutMilliseconds);
    if (!writer.Write(head.data(), head.size()))
        return false;
    return !withBody || response.Body.empty() || writer.Write(response.Body.data(), response.Body.size());
}

// Answers an unusable request and says the connection is to close.
void SendErrorAndClose(int socket, int status, const char* message, const std::string& method,
                       const std::string& path, Clock::time_point start)
{
    PageResponse response = MakeErrorResponse(status, message);
    SendResponse(socket, response, true, false);
    LogRequest(method.empty() ? "-" : method, path.empty() ? "-" : path, status, response.Body.size(), start);
}

// Closes a connection so that an answer sent before the request was read
// whole still reaches the client: stop writing, then read and drop what the
// client is still sending, within a bound, before the socket goes away.
void CloseGently(int socket)
{
    shutdown(socket, SHUT_WR);
    Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(kLingerMilliseconds);
    char chunk[kReadChunkBytes];
    std::size_t dropped = 0;
    while (dropped < kMaxLingerBytes) {
        int left = MillisecondsLeft(deadline);
        if (left == 0 || !WaitForDescriptor(socket, false, left))
            break;
        ssize_t got = recv(socket, chunk, sizeof chunk, 0);
        if (got <= 0)
            break;
        dropped += static_cast<std::size_t>(got);
    }
    close(socket);
}

bool WantsKeepAlive(const HttpRequestHead& head)
{
    std::string connection = GetHeaderField(head, "connection");
    for (char& c : connection)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (head.MinorVersion == 0)
        return connection.find("keep-alive") != std::string::npos;
    return connection.find("close") == std::string::npos;
}

void ServeConnection(const ServerConfig& config, const std::string& root, int socket, const sockaddr_in& peer,
                     int localPort)
{
    std::string buffer;
    char address[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &peer.sin_addr, address, sizeof address);
    for (int served = 0; served < kMaxRequestsPerConnection; ++served) {
        std::size_t headEnd = 0;
        ReadOutcome outcome = ReadHead(socket, buffer, headEnd);
        Clock::time_point start = Clock::now();
        if (outcome == ReadOutcome::Closed)
            return;
        if (outcome == ReadOutcome::TimedOut)
            return SendErrorAndClose(socket, 408, "The request did not arrive in time.", "", "", start);
        if (outcome == ReadOutcome::TooLarge)
            return SendErrorAndClose(socket, 431, "The request head is too large.", "", "", start);

        Exchange exchange;
        exchange.PeerAddress = address;
        exchange.PeerPort = ntohs(peer.sin_port);
        exchange.LocalPort = localPort;
        HeadParseStatus parsed = ParseRequestHead(std::string_view(buffer).substr(0, headEnd), exchange.Head);
        buffer.erase(0, headEnd);
        const std::string& method = exchange.Head.Method;
        if (parsed == HeadParseStatus::TooManyFields)
            return SendErrorAndClose(socket, 431, "The request has too many header fields.", method, "", start);
        if (parsed == HeadParseStatus::BadVersion)
            return SendErrorAndClose(socket, 505, "Only HTTP/1.x is spoken here.", method, "", start);
        if (parsed != HeadParseStatus::Ok || !SplitRequestTarget(exchange.Head.Target, exchange.Path, exchange.Query))
            return SendErrorAndClose(socket, 400, "The request cannot be read.", method, "", start);
        if (!GetHeaderField(exchange.Head, "transfer-encoding").empty())
            return SendErrorAndClose(socket, 501, "Chunked request bodies are not supported; send Content-Length.",
                                     method, exchange.Path, start);
        std::string lengthText = GetHeaderField(exchange.Head, "content-length");
        unsigned length = 0;
        if (!lengthText.empty() && !ParseUnsigned32(lengthText, length))
            return SendErrorAndClose(socket, lengthText.find_first_not_of("0123456789") == std::string::npos ? 413 : 400,
                                     "The Content-Length cannot be used.", method, exchange.Path, start);
        HandlerSettings limits = ResolveHandlerSettings(config.Options, RequestEnvironment());
        if (length > limits.MaxBodyBytes)
            return SendErrorAndClose(socket, 413, "The request body is too large.", method, exchange.Path, start);
        if (!ReadBody(socket, buffer, length, exchange.Body))
            return SendErrorAndClose(socket, 408, "The request body did not arrive in time.", method, exchange.Path,
                                     start);

        bool keepAlive = WantsKeepAlive(exchange.Head) && served + 1 < kMaxRequestsPerConnection;
        PageResponse response = Route(config, root, exchange);
        bool withBody = method != "HEAD";
        bool sent = SendResponse(socket, response, withBody, keepAlive);
        LogRequest(method, exchange.Path, response.Status, withBody ? response.Body.size() : 0, start);
        if (!sent || !keepAlive)
            return;
    }
}

}  // namespace

int RunDevelopmentServer(const ServerConfig& config)
{
    std::string root = ResolveRootFolder(config.Root);
    if (root.empty()) {
        std::fprintf(stderr, "vexl serve: '%s' is not a folder\n", config.Root.c_str());
        return 1;
    }
    int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener < 0) {
        std::perror("vexl serve: socket");
        return 1;
    }
    int yes = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(config.Port));
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, kListenBacklog) != 0) {
        std::fprintf(stderr, "vexl serve: cannot listen on 127.0.0.1:%d: %s\n", config.Port, std::strerror(errno));
        close(listener);
        return 1;
    }
    socklen_t length = sizeof address;
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    int port = ntohs(address.sin_port);

    std::signal(SIGPIPE, SIG_IGN);
    std::fprintf(stderr, "vexl serve: listening on http://127.0.0.1:%d/ (root %s)\n", port, root.c_str());

    while (true) {
        sockaddr_in peer{};
        socklen_t peerLength = sizeof peer;
        int connection = accept4(listener, reinterpret_cast<sockaddr*>(&peer), &peerLength, SOCK_CLOEXEC);
        if (connection < 0) {
            if (errno != EINTR)
                std::this_thread::sleep_for(std::chrono::milliseconds(100));  // e.g. out of descriptors
            continue;
        }
        if (OpenConnections.load() >= kMaxConnections) {
            // A short answer fits the socket's buffer: this does not block.
            PageResponse busy = MakeErrorResponse(503, "Too many connections; try again.");
            SendResponse(connection, busy, true, false);
            RefusedConnections.Add(connection);
            continue;
        }
        ++OpenConnections;
        std::thread([&config, root, connection, peer, port]() {
            ServeConnection(config, root, connection, peer, port);
            CloseGently(connection);
            --OpenConnections;
        }).detach();
    }
}
