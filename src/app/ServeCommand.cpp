// `vexl serve`: a development web server.
#include <cstdio>

#include "app/AppCommands.h"

int RunServeCommand(int argc, char** argv)
{
    return ReportUsageError("serve", "not available yet");
}
