// The `vexl` program: dispatches to the subcommand named by its first argument.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "app/AppCommands.h"
#include "app/MemoryRetention.h"

namespace {

const char kProgramHelp[] =
    "Usage: vexl COMMAND [ARGUMENTS]\n"
    "\n"
    "Runs Vexl pages: HTML with extra tags and Quince scripts.\n"
    "\n"
    "Commands:\n"
    "  render PAGE [OPTIONS]   render one page to the standard output\n"
    "  cgi                     answer one CGI/1.1 request (run by a web server)\n"
    "  fcgi                    answer FastCGI requests in one long-lived process\n"
    "  serve --root DIR        a development web server on 127.0.0.1\n"
    "  check PATH...           read pages without running them and report mistakes\n"
    "  copy-store WHAT FROM TO copy sessions or a translation table between stores\n"
    "\n"
    "Options of render:\n"
    "  --ini FILE              configuration file of the site\n"
    "  --var NAME=VALUE        a request variable; repeatable, kept in order;\n"
    "                          NAME is everything before the first '='\n"
    "  --session ID            session number; 0 asks for a new one\n"
    "  --expiry SECONDS        session expiry handed to the session store (default 3600)\n"
    "  --translations DBFILE   translation database (SQLite file or postgresql:// URI)\n"
    "  --headers               write the response headers, an empty line, then the body\n"
    "\n"
    "Run 'vexl COMMAND --help' for the options of each command;\n"
    "'vexl --version' (or -V) prints the version and what this build has.\n";

}  // namespace

// A web server that runs vexl itself as the handler of pages starts it
// without a command (or with the page's path): then it answers as CGI.
static bool IsStartedByWebServer(int argc, char** argv)
{
    const char* gateway = std::getenv("GATEWAY_INTERFACE");
    if (!gateway || std::strncmp(gateway, "CGI/", 4) != 0)
        return false;
    return argc < 2 || argv[1][0] == '/';
}

int main(int argc, char** argv)
{
    if (IsStartedByWebServer(argc, argv))
        return RunCgiCommand(argc - 1, argv + 1);
    if (argc < 2)
        return ReportUsageError(nullptr, "missing command");
    const char* command = argv[1];
    if (std::strcmp(command, "--help") == 0 || std::strcmp(command, "-h") == 0 || std::strcmp(command, "help") == 0) {
        std::fputs(kProgramHelp, stdout);
        return 0;
    }
    if (std::strcmp(command, "--version") == 0 || std::strcmp(command, "-V") == 0)
        return RunVersionCommand();
    if (std::strcmp(command, "check") == 0)
        return RunCheckCommand(argc - 2, argv + 2);
    if (std::strcmp(command, "copy-store") == 0)
        return RunCopyStoreCommand(argc - 2, argv + 2);
    if (std::strcmp(command, "render") == 0)
        return RunRenderCommand(argc - 2, argv + 2);
    if (std::strcmp(command, "cgi") == 0)
        return RunCgiCommand(argc - 2, argv + 2);
    if (std::strcmp(command, "fcgi") == 0) {
        KeepFreedMemoryForNextRequests();
        return RunFastCgiCommand(argc - 2, argv + 2);
    }
    if (std::strcmp(command, "serve") == 0) {
        KeepFreedMemoryForNextRequests();
        return RunServeCommand(argc - 2, argv + 2);
    }
    char message[256];
    std::snprintf(message, sizeof message, "unknown command '%.200s'", command);
    return ReportUsageError(nullptr, message);
}
