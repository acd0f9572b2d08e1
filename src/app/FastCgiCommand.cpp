// `vexl fcgi`: a FastCGI responder.
#include <cstdio>

#include "app/AppCommands.h"

int RunFastCgiCommand(int argc, char** argv)
{
    return ReportUsageError("fcgi", "not available yet");
}
