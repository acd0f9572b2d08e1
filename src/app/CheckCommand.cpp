// `vexl check PATH...`: reads pages without running them and reports what
// would go wrong, one finding a line as compilers do, or as JSON for editors
// and CI. Exit status 1 when there is an error, 0 otherwise.
#include <cstdio>
#include <cstring>
#include <string>

#include "app/AppCommands.h"
#include "check/SiteCheck.h"

namespace {

const char kCheckHelp[] =
    "Usage: vexl check [--ini FILE] [--var NAME]... [--format text|json] PATH...\n"
    "\n"
    "Reads page files (and folders, searched for *.vxl) without running them and\n"
    "reports misspelt tags and parameters, blocks that do not close, Quince that\n"
    "does not compile, missing include and script files, and variables that are\n"
    "read but that nothing sets, as FILE:LINE:COLUMN: error|warning: TEXT.\n"
    "\n"
    "  --ini FILE        the site's configuration: its Preload script and\n"
    "                    PropagatedVariables count as set on every page\n"
    "  --var NAME[=VALUE]  a variable the request brings (as for render);\n"
    "                    repeatable; it counts as set on every page\n"
    "  --format json     one JSON object: {\"files\": N, \"errors\": N, \"warnings\": N,\n"
    "                    \"messages\": [{\"file\", \"line\", \"column\", \"severity\", \"message\"}]}\n"
    "\n"
    "Exit status: 0 without errors (warnings allowed), 1 with errors, 2 on a usage error.\n";

void AppendJsonString(std::string& out, const std::string& text)
{
    out += '"';
    for (unsigned char c : text) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20) {
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                    out += escaped;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    out += '"';
}

}  // namespace

int RunCheckCommand(int argc, char** argv)
{
    std::string ini;
    bool json = false;
    std::vector<std::string> paths;
    std::vector<std::string> requestNames;
    for (int i = 0; i < argc; ++i) {
        const char* argument = argv[i];
        if (std::strcmp(argument, "--help") == 0 || std::strcmp(argument, "-h") == 0) {
            std::fputs(kCheckHelp, stdout);
            return 0;
        }
        if (std::strcmp(argument, "--ini") == 0 || std::strcmp(argument, "--format") == 0 ||
            std::strcmp(argument, "--var") == 0) {
            if (i + 1 >= argc)
                return ReportUsageError("check", (std::string(argument) + " needs a value").c_str());
            const std::string value = argv[++i];
            if (std::strcmp(argument, "--ini") == 0) {
                ini = value;
            } else if (std::strcmp(argument, "--var") == 0) {
                requestNames.push_back(value.substr(0, value.find('=')));
            } else if (value == "json" || value == "text") {
                json = value == "json";
            } else {
                return ReportUsageError("check", "--format takes 'text' or 'json'");
            }
            continue;
        }
        if (argument[0] == '-' && argument[1] != '\0')
            return ReportUsageError("check", (std::string("unknown option '") + argument + "'").c_str());
        paths.emplace_back(argument);
    }
    if (paths.empty())
        return ReportUsageError("check", "missing PATH");

    SiteCheck check(ini);
    for (const std::string& name : requestNames)
        check.AddRequestName(name);
    for (const std::string& path : paths)
        check.AddPath(path);
    check.Run();

    unsigned errors = 0, warnings = 0;
    for (const CheckMessage& message : check.GetMessages())
        (message.Level == CheckMessage::Severity::Error ? errors : warnings) += 1;
    if (json) {
        std::string out = "{\"files\": " + std::to_string(check.GetFileCount()) + ", \"errors\": " +
                          std::to_string(errors) + ", \"warnings\": " + std::to_string(warnings) + ", \"messages\": [";
        bool first = true;
        for (const CheckMessage& message : check.GetMessages()) {
            out += first ? "\n  {\"file\": " : ",\n  {\"file\": ";
            first = false;
            AppendJsonString(out, message.File);
            out += ", \"line\": " + std::to_string(message.Line) + ", \"column\": " + std::to_string(message.Column) +
                   ", \"severity\": ";
            out += message.Level == CheckMessage::Severity::Error ? "\"error\"" : "\"warning\"";
            out += ", \"message\": ";
            AppendJsonString(out, message.Text);
            out += "}";
        }
        out += first ? "]}\n" : "\n]}\n";
        std::fputs(out.c_str(), stdout);
    } else {
        for (const CheckMessage& message : check.GetMessages())
            std::printf("%s\n", FormatCheckMessage(message).c_str());
        std::fprintf(stderr, "vexl check: %u file%s, %u error%s, %u warning%s\n", check.GetFileCount(),
                     check.GetFileCount() == 1 ? "" : "s", errors, errors == 1 ? "" : "s", warnings,
                     warnings == 1 ? "" : "s");
    }
    return errors > 0 ? 1 : 0;
}
