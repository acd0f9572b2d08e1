// `vexl serve`: the development server's command line.
#include <cstdio>
#include <cstring>
#include <string>

#include "app/AppCommands.h"
#include "app/DevelopmentServer.h"
#include "app/PageLocator.h"
#include "app/RequestDecoder.h"

namespace {

const char kServeHelp[] =
    "Usage: vexl serve --root DIR [--port N] [--ini FILE] [OPTIONS]\n"
    "\n"
    "A development web server on 127.0.0.1 for page authors: .vxl files are run\n"
    "as pages (index.vxl for a folder), other files are sent as they are when\n"
    "their extension is a known web type (.html .css .js .png ...). One log line\n"
    "per request on the standard error: METHOD PATH STATUS BYTES MS.\n"
    "Not meant for production: run pages behind a web server with 'vexl cgi' or\n"
    "'vexl fcgi' there.\n"
    "\n"
    "  --port N                port on 127.0.0.1 (default 8080; 0 picks a free one)\n"
    "Options shared with 'vexl cgi' (--root is required here):\n";

}  // namespace

int RunServeCommand(int argc, char** argv)
{
    ServerConfig config;
    for (int index = 0; index < argc;) {
        const char* argument = argv[index];
        if (std::strcmp(argument, "--help") == 0 || std::strcmp(argument, "-h") == 0) {
            std::fputs(kServeHelp, stdout);
            std::fputs(kHandlerOptionsHelp, stdout);
            return 0;
        }
        if (std::strcmp(argument, "--port") == 0) {
            unsigned port = 0;
            if (index + 1 >= argc || !ParseUnsigned32(argv[index + 1], port) || port > 65535)
                return ReportUsageError("serve", "--port needs a number from 0 to 65535");
            config.Port = static_cast<int>(port);
            index += 2;
            continue;
        }
        int consumed = ParseHandlerOption("serve", argc, argv, index, config.Options);
        if (consumed < 0)
            return kUsageExitStatus;
        if (consumed == 0) {
            std::string message = std::string("unknown option '") + argument + "'";
            return ReportUsageError("serve", message.c_str());
        }
        index += consumed;
    }
    if (config.Options.Root.empty())
        return ReportUsageError("serve", "missing --root DIR");
    if (ResolveRootFolder(config.Options.Root).empty()) {
        std::string message = "--root '" + config.Options.Root + "' is not a folder";
        return ReportUsageError("serve", message.c_str());
    }
    config.Root = config.Options.Root;
    return RunDevelopmentServer(config);
}
