// `vexl cgi`: answers one CGI/1.1 request from the environment and the
// standard input, on the standard output.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "app/AppCommands.h"
#include "app/DescriptorStreams.h"
#include "app/HandlerSettings.h"
#include "app/PageRequest.h"

extern char** environ;

namespace {

const char kCgiHelp[] =
    "Usage: vexl cgi [OPTIONS]\n"
    "\n"
    "Answers one CGI/1.1 request: the web server gives the request in the\n"
    "environment (REQUEST_METHOD, QUERY_STRING, PATH_TRANSLATED, HTTP_COOKIE, ...)\n"
    "and the body on the standard input; the response goes to the standard output.\n"
    "The page is the one named by the field _htmlfile (query or form), else the\n"
    "one the URL's path leads to (PATH_TRANSLATED, or SCRIPT_FILENAME of a .vxl\n"
    "page run through vexl as a handler), else index.vxl in the root.\n"
    "Run with GATEWAY_INTERFACE set and no command, vexl acts as 'vexl cgi'.\n"
    "\n"
    "Options:\n";

// The environment of the process as a map.
RequestEnvironment ReadProcessEnvironment()
{
    RequestEnvironment environment;
    for (char** entry = environ; entry && *entry; ++entry) {
        const char* equals = std::strchr(*entry, '=');
        if (equals)
            environment.emplace(std::string(*entry, static_cast<std::size_t>(equals - *entry)), std::string(equals + 1));
    }
    return environment;
}

}  // namespace

int RunCgiCommand(int argc, char** argv)
{
    HandlerOptions options;
    for (int index = 0; index < argc;) {
        if (std::strcmp(argv[index], "--help") == 0 || std::strcmp(argv[index], "-h") == 0) {
            std::fputs(kCgiHelp, stdout);
            std::fputs(kHandlerOptionsHelp, stdout);
            return 0;
        }
        int consumed = ParseHandlerOption("cgi", argc, argv, index, options);
        if (consumed < 0)
            return kUsageExitStatus;
        if (consumed == 0) {
            // A handler-style call passes the page's path; the environment names it too.
            if (argv[index][0] != '-') {
                ++index;
                continue;
            }
            std::string message = std::string("unknown option '") + argv[index] + "'";
            return ReportUsageError("cgi", message.c_str());
        }
        index += consumed;
    }

    std::signal(SIGPIPE, SIG_IGN);
    RequestEnvironment environment = ReadProcessEnvironment();
    HandlerSettings settings = ResolveHandlerSettings(options, environment);
    DescriptorReader body(0, 0);
    DescriptorWriter writer(1, 0);
    std::fflush(stdout);
    return HandleCgiRequest(environment, body, writer, settings) ? 0 : 1;
}
