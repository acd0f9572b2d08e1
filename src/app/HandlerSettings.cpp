// HandlerSettings: request settings from options and environment.
#include "app/HandlerSettings.h"

#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

#include "app/AppCommands.h"
#include "app/RequestDecoder.h"

const char kHandlerOptionsHelp[] =
    "  --root DIR              folder the pages lie in (default: VEXL_ROOT, else the\n"
    "                          server's DOCUMENT_ROOT); nothing outside it is served\n"
    "  --ini FILE              configuration file (default: VEXL_INI, else vexl.ini in\n"
    "                          the root when it exists)\n"
    "  --translations DBFILE   translation database (default: VEXL_TRANSLATIONS)\n"
    "  --max-body BYTES        largest request body accepted (default: VEXL_MAX_BODY,\n"
    "                          else 1048576); a larger one is answered with 413\n"
    "  --expiry SECONDS        session expiry (default: VEXL_SESSION_EXPIRY, else 3600)\n";

namespace {

std::string LookUp(const RequestEnvironment& environment, const char* name)
{
    std::string value = GetEnvironmentValue(environment, name);
    if (!value.empty())
        return value;
    const char* process = std::getenv(name);
    return process ? std::string(process) : std::string();
}

bool IsRegularFile(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

HandlerSettings ResolveHandlerSettings(const HandlerOptions& options, const RequestEnvironment& environment)
{
    HandlerSettings settings;
    settings.Root = !options.Root.empty() ? options.Root : LookUp(environment, "VEXL_ROOT");
    if (settings.Root.empty())
        settings.Root = GetEnvironmentValue(environment, "DOCUMENT_ROOT");

    settings.IniPath = !options.IniPath.empty() ? options.IniPath : LookUp(environment, "VEXL_INI");
    if (settings.IniPath.empty() && !settings.Root.empty()) {
        std::string beside = settings.Root + "/vexl.ini";
        if (IsRegularFile(beside))
            settings.IniPath = beside;
    }

    settings.TranslationPath =
        !options.TranslationPath.empty() ? options.TranslationPath : LookUp(environment, "VEXL_TRANSLATIONS");

    unsigned number = 0;
    if (options.MaxBodyBytes != 0)
        settings.MaxBodyBytes = options.MaxBodyBytes;
    else if (ParseUnsigned32(LookUp(environment, "VEXL_MAX_BODY"), number))
        settings.MaxBodyBytes = number;

    if (options.SessionExpirySeconds != 0)
        settings.SessionExpirySeconds = options.SessionExpirySeconds;
    else if (ParseUnsigned32(LookUp(environment, "VEXL_SESSION_EXPIRY"), number) && number != 0)
        settings.SessionExpirySeconds = number;
    return settings;
}

int ParseHandlerOption(const char* command, int argc, char** argv, int index, HandlerOptions& options)
{
    static const char* const kOptionsWithValue[] = {"--root", "--ini", "--translations", "--max-body", "--expiry"};
    const char* argument = argv[index];
    const char* matched = nullptr;
    for (const char* option : kOptionsWithValue) {
        if (std::strcmp(argument, option) == 0)
            matched = option;
    }
    if (!matched)
        return 0;
    if (index + 1 >= argc) {
        std::string message = std::string("option ") + matched + " needs a value";
        ReportUsageError(command, message.c_str());
        return -1;
    }
    const char* value = argv[index + 1];
    unsigned number = 0;
    if (std::strcmp(matched, "--root") == 0) {
        options.Root = value;
    } else if (std::strcmp(matched, "--ini") == 0) {
        options.IniPath = value;
    } else if (std::strcmp(matched, "--translations") == 0) {
        options.TranslationPath = value;
    } else if (!ParseUnsigned32(value, number) || number == 0) {
        std::string message = std::string("option ") + matched + " needs a positive number, got '" + value + "'";
        ReportUsageError(command, message.c_str());
        return -1;
    } else if (std::strcmp(matched, "--max-body") == 0) {
        options.MaxBodyBytes = number;
    } else {
        options.SessionExpirySeconds = number;
    }
    return 2;
}
