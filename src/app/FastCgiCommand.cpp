// `vexl fcgi`: a FastCGI responder. One long-lived process answers request
// after request, each with a fresh VexlPage, through the same request
// handling as `vexl cgi`.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <unistd.h>

#include "app/AppCommands.h"
#include "app/HandlerSettings.h"
#include "app/PageRequest.h"
#include "app/RequestDecoder.h"
#include "foundation/Process.h"

#ifdef VEXL_HAVE_FCGI
#include <fcgiapp.h>
#endif

namespace {

const char kFastCgiHelp[] =
    "Usage: vexl fcgi [--socket ADDRESS] [--max-requests N] [OPTIONS]\n"
    "\n"
    "Answers FastCGI requests (responder role), one at a time, each with a fresh\n"
    "page. Without --socket the listening socket is the one the web server hands\n"
    "over on descriptor 0 (lighttpd's bin-path, spawn-fcgi).\n"
    "\n"
    "  --socket ADDRESS        listen here: ':9000', '127.0.0.1:9000' or a Unix\n"
    "                          socket path\n"
    "  --max-requests N        leave after N requests (a process manager starts a\n"
    "                          new one); default: never\n"
    "Options shared with 'vexl cgi':\n";

// Connections waiting for accept(2) on a socket of our own.
constexpr int kListenBacklog = 64;

#ifdef VEXL_HAVE_FCGI

class FastCgiBodyReader : public BodyReader {
public:
    explicit FastCgiBodyReader(FCGX_Stream* stream) : Stream(stream) {}
    long Read(char* buffer, std::size_t size) override
    {
        int count = size > 0x10000000 ? 0x10000000 : static_cast<int>(size);
        return FCGX_GetStr(buffer, count, Stream);
    }

private:
    FCGX_Stream* Stream;
};

class FastCgiWriter : public ResponseWriter {
public:
    explicit FastCgiWriter(FCGX_Stream* stream) : Stream(stream) {}
    bool Write(const char* data, std::size_t size) override
    {
        // FCGX_PutStr takes an int count: larger bodies go in slices.
        constexpr std::size_t kSlice = 1 << 30;
        while (size > 0) {
            int count = static_cast<int>(size > kSlice ? kSlice : size);
            if (FCGX_PutStr(data, count, Stream) != count)
                return false;
            data += count;
            size -= static_cast<std::size_t>(count);
        }
        return true;
    }

private:
    FCGX_Stream* Stream;
};

RequestEnvironment ReadRequestEnvironment(FCGX_ParamArray parameters)
{
    RequestEnvironment environment;
    for (char** entry = parameters; entry && *entry; ++entry) {
        const char* equals = std::strchr(*entry, '=');
        if (equals)
            environment.emplace(std::string(*entry, static_cast<std::size_t>(equals - *entry)), std::string(equals + 1));
    }
    return environment;
}

volatile std::sig_atomic_t RequestInProgress = 0;

// A stop signal ends an idle process at once and a busy one after its request.
void StopAfterThisRequest(int)
{
    if (!RequestInProgress)
        _exit(0);
    FCGX_ShutdownPending();
}

#endif

// What the command line asks of the worker, besides the handler options.
struct FastCgiOptions {
    HandlerOptions Handler;
    std::string SocketAddress;  // empty: the socket the web server gave on descriptor 0
    unsigned MaxRequests = 0;   // 0: no limit
};

// Reads the command line into `options`; a status to exit with when the
// command ends here (help, or a usage error).
std::optional<int> ParseFastCgiOptions(int argc, char** argv, FastCgiOptions& options)
{
    for (int index = 0; index < argc;) {
        const char* argument = argv[index];
        if (std::strcmp(argument, "--help") == 0 || std::strcmp(argument, "-h") == 0) {
            std::fputs(kFastCgiHelp, stdout);
            std::fputs(kHandlerOptionsHelp, stdout);
            return 0;
        }
        if (std::strcmp(argument, "--socket") == 0 || std::strcmp(argument, "--max-requests") == 0) {
            if (index + 1 >= argc) {
                std::string message = std::string("option ") + argument + " needs a value";
                return ReportUsageError("fcgi", message.c_str());
            }
            if (argument[2] == 's') {
                options.SocketAddress = argv[index + 1];
            } else if (!ParseUnsigned32(argv[index + 1], options.MaxRequests) || options.MaxRequests == 0) {
                return ReportUsageError("fcgi", "--max-requests needs a positive number");
            }
            index += 2;
            continue;
        }
        int consumed = ParseHandlerOption("fcgi", argc, argv, index, options.Handler);
        if (consumed < 0)
            return kUsageExitStatus;
        if (consumed == 0) {
            std::string message = std::string("unknown option '") + argument + "'";
            return ReportUsageError("fcgi", message.c_str());
        }
        index += consumed;
    }
    return std::nullopt;
}

#ifdef VEXL_HAVE_FCGI
// Starts the FastCGI library and finds the socket to accept on: the one
// named, or descriptor 0 as the web server gave it. A status to exit with
// when there is none.
std::optional<int> OpenListenSocket(const std::string& address, int& listenSocket)
{
    if (FCGX_Init() != 0) {
        std::fputs("vexl fcgi: the FastCGI library failed to start\n", stderr);
        return 1;
    }
    listenSocket = 0;
    if (!address.empty()) {
        listenSocket = FCGX_OpenSocket(address.c_str(), kListenBacklog);
        if (listenSocket < 0) {
            std::fprintf(stderr, "vexl fcgi: cannot listen on '%s'\n", address.c_str());
            return 1;
        }
    } else if (FCGX_IsCGI()) {
        std::fputs("vexl fcgi: no FastCGI socket on descriptor 0; give --socket ADDRESS or let the web server "
                   "start this program\n",
                   stderr);
        return kUsageExitStatus;
    }
    return std::nullopt;
}
#endif

}  // namespace

int RunFastCgiCommand(int argc, char** argv)
{
    FastCgiOptions options;
    if (std::optional<int> status = ParseFastCgiOptions(argc, argv, options))
        return *status;

#ifndef VEXL_HAVE_FCGI
    std::fputs("vexl fcgi: this vexl was built without FastCGI support (install libfcgi-dev and rebuild)\n", stderr);
    return 1;
#else
    int listenSocket = 0;
    if (std::optional<int> status = OpenListenSocket(options.SocketAddress, listenSocket))
        return *status;

    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGTERM, StopAfterThisRequest);
    std::signal(SIGINT, StopAfterThisRequest);
    // A worker that its web server started ends with it (after the request
    // in hand), instead of waiting on a socket nobody will connect to again.
    if (options.SocketAddress.empty() && !SignalWhenParentEnds(SIGTERM))
        return 0;

    FCGX_Request request;
    if (FCGX_InitRequest(&request, listenSocket, 0) != 0) {
        std::fputs("vexl fcgi: cannot set up a request\n", stderr);
        return 1;
    }
    unsigned handled = 0;
    // One pass per request; FCGX_Accept_r fails once shutdown is pending.
    while (FCGX_Accept_r(&request) >= 0) {
        RequestInProgress = 1;
        RequestEnvironment environment = ReadRequestEnvironment(request.envp);
        HandlerSettings settings = ResolveHandlerSettings(options.Handler, environment);
        settings.KeepParsedPages = true;
        FastCgiBodyReader body(request.in);
        FastCgiWriter writer(request.out);
        HandleCgiRequest(environment, body, writer, settings);
        FCGX_Finish_r(&request);
        RequestInProgress = 0;
        if (options.MaxRequests != 0 && ++handled >= options.MaxRequests)
            break;
    }
    FCGX_Free(&request, 1);
    return 0;
#endif
}
