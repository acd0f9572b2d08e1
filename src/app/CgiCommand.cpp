// `vexl cgi`: answers one CGI/1.1 request.
#include <cstdio>

#include "app/AppCommands.h"

int RunCgiCommand(int argc, char** argv)
{
    return ReportUsageError("cgi", "not available yet");
}
