// `vexl render`: runs one page the way a calling executable does and writes
// the result to the standard output, byte for byte.
#include <cstdio>
#include <cstdlib>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "app/AppCommands.h"
#include "app/RequestDecoder.h"
#include "page/VexlPage.h"

namespace {

constexpr unsigned kDefaultExpirySeconds = 3600;

const char kRenderHelp[] =
    "Usage: vexl render PAGE [--ini FILE] [--var NAME=VALUE]... [--session ID]\n"
    "                        [--expiry SECONDS] [--translations DBFILE] [--headers]\n"
    "\n"
    "Renders the page file PAGE and writes the output to the standard output.\n"
    "\n"
    "  --ini FILE              configuration file of the site (sections General,\n"
    "                          ScriptInterpreters, QuinceConfig)\n"
    "  --var NAME=VALUE        a request variable, as a form field would give it;\n"
    "                          repeatable, handed over in the order given. NAME is\n"
    "                          everything before the first '=', so '--var n.i=42'\n"
    "                          makes the integer n\n"
    "  --session ID            session number (unsigned 32-bit); 0 asks for a new one\n"
    "  --expiry SECONDS        age after which sessions expire (default 3600)\n"
    "  --translations DBFILE   SQLite file of the translation store, or a\n"
    "                          postgresql:// URI; the page's TRANSLATION tag still\n"
    "                          turns translation on\n"
    "  --headers               first write each response header as 'name: value' on a\n"
    "                          line, then an empty line, then the body\n"
    "  --help                  this text\n"
    "\n"
    "Exit status: 0 when the page ran (page errors appear in the output), 2 for a\n"
    "usage error.\n";

struct RenderOptions {
    std::string PagePath;
    bool HasIni = false;
    std::string IniPath;
    std::vector<std::pair<std::string, std::string>> Variables;  // in command-line order
    bool HasSession = false;
    unsigned SessionId = 0;
    unsigned ExpirySeconds = kDefaultExpirySeconds;
    bool HasTranslations = false;
    std::string TranslationPath;
    bool WriteHeaders = false;
};

// Takes the value of an option given as "--name VALUE" or "--name=VALUE".
// Returns null (and reports) when the value is missing.
const char* TakeOptionValue(const char* option, int argc, char** argv, int& index, bool& failed)
{
    const char* argument = argv[index];
    std::size_t length = std::strlen(option);
    if (argument[length] == '=')
        return argument + length + 1;
    if (index + 1 >= argc) {
        std::string message = std::string("option ") + option + " needs a value";
        ReportUsageError("render", message.c_str());
        failed = true;
        return nullptr;
    }
    return argv[++index];
}

bool IsOption(const char* argument, const char* option)
{
    std::size_t length = std::strlen(option);
    return std::strncmp(argument, option, length) == 0 && (argument[length] == '\0' || argument[length] == '=');
}

// Fills `options` from the arguments; on a usage error it has reported it and
// returns false.
bool ParseRenderOptions(int argc, char** argv, RenderOptions& options)
{
    bool havePage = false;
    bool failed = false;
    for (int index = 0; index < argc && !failed; ++index) {
        const char* argument = argv[index];
        if (IsOption(argument, "--ini")) {
            const char* value = TakeOptionValue("--ini", argc, argv, index, failed);
            if (value) {
                options.HasIni = true;
                options.IniPath = value;
            }
        } else if (IsOption(argument, "--var")) {
            const char* value = TakeOptionValue("--var", argc, argv, index, failed);
            if (!value)
                break;
            const char* equals = std::strchr(value, '=');
            if (!equals) {
                std::string message = std::string("--var needs NAME=VALUE, got '") + value + "'";
                ReportUsageError("render", message.c_str());
                return false;
            }
            options.Variables.emplace_back(std::string(value, equals), std::string(equals + 1));
        } else if (IsOption(argument, "--session")) {
            const char* value = TakeOptionValue("--session", argc, argv, index, failed);
            if (!value)
                break;
            if (!ParseUnsigned32(value, options.SessionId)) {
                std::string message = std::string("--session needs an unsigned 32-bit number, got '") + value + "'";
                ReportUsageError("render", message.c_str());
                return false;
            }
            options.HasSession = true;
        } else if (IsOption(argument, "--expiry")) {
            const char* value = TakeOptionValue("--expiry", argc, argv, index, failed);
            if (!value)
                break;
            if (!ParseUnsigned32(value, options.ExpirySeconds)) {
                std::string message = std::string("--expiry needs a number of seconds, got '") + value + "'";
                ReportUsageError("render", message.c_str());
                return false;
            }
        } else if (IsOption(argument, "--translations")) {
            const char* value = TakeOptionValue("--translations", argc, argv, index, failed);
            if (value) {
                options.HasTranslations = true;
                options.TranslationPath = value;
            }
        } else if (std::strcmp(argument, "--headers") == 0) {
            options.WriteHeaders = true;
        } else if (argument[0] == '-' && argument[1] != '\0') {
            std::string message = std::string("unknown option '") + argument + "'";
            ReportUsageError("render", message.c_str());
            return false;
        } else if (havePage) {
            std::string message = std::string("more than one PAGE given ('") + argument + "')";
            ReportUsageError("render", message.c_str());
            return false;
        } else {
            options.PagePath = argument;
            havePage = true;
        }
    }
    if (failed)
        return false;
    if (!havePage) {
        ReportUsageError("render", "missing PAGE");
        return false;
    }
    return true;
}

NyxString ToNyx(const std::string& text)
{
    return NyxString(std::string_view(text));
}

void WriteBytes(const char* data, std::size_t size)
{
    if (size > 0)
        std::fwrite(data, 1, size, stdout);
}

}  // namespace

int RunRenderCommand(int argc, char** argv)
{
    for (int index = 0; index < argc; ++index) {
        if (std::strcmp(argv[index], "--help") == 0 || std::strcmp(argv[index], "-h") == 0) {
            std::fputs(kRenderHelp, stdout);
            return 0;
        }
    }
    RenderOptions options;
    if (!ParseRenderOptions(argc, argv, options))
        return kUsageExitStatus;

    // The order of calls below is the one every calling executable keeps.
    NyxString output;
    std::string pageWritten;  // why the page could not write what it needed
    {
        VexlPage page;
        if (options.HasIni)
            page.SetIniPath(ToNyx(options.IniPath));
        page.SetOutput(&output);
        page.SetFile(ToNyx(options.PagePath));
        if (options.HasSession)
            page.SetSessionId(options.SessionId, options.ExpirySeconds);
        if (options.HasTranslations)
            page.SetTranslationFile(ToNyx(options.TranslationPath));
        for (const auto& [name, value] : options.Variables)
            page.CreateOneVariable(ToNyx(name), ToNyx(value), QuinceContext::VarListPage);
        page.Process();
        pageWritten = page.GetWriteProblem().ToStd();

        // Whatever the library printed itself is already in the stream, ahead
        // of the headers and the body.
        std::fflush(stdout);
        if (options.WriteHeaders) {
            std::string block;
            int count = page.Headers.GetCount();
            for (int index = 0; index < count; ++index) {
                block += page.Headers.GetName(index).View();
                block += ": ";
                block += page.Headers.GetValue(index).View();
                block += '\n';
            }
            block += '\n';
            WriteBytes(block.data(), block.size());
        }
    }
    WriteBytes(output.GetString(), output.GetSize());
    // A full disk or a closed pipe must not pass for a page written whole.
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "vexl render: the page could not be written whole: %s\n", std::strerror(errno));
        return 1;
    }
    if (!pageWritten.empty()) {
        std::fprintf(stderr, "vexl render: %s\n", pageWritten.c_str());
        return 1;
    }
    return 0;
}
