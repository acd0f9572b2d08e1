// Usage errors of the vexl program: one line on stderr, exit status 2.
#include <cstdio>

#include "app/AppCommands.h"

int ReportUsageError(const char* command, const char* message)
{
    std::fprintf(stderr, "vexl%s%s: %s (see 'vexl%s%s --help')\n", command ? " " : "", command ? command : "", message,
                 command ? " " : "", command ? command : "");
    return kUsageExitStatus;
}
