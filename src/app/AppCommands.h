// The subcommands of the `vexl` program. Each takes the arguments behind its
// own name and returns the process exit status.
#pragma once

// Exit status of a usage error: unknown option, missing or extra argument.
constexpr int kUsageExitStatus = 2;

int RunRenderCommand(int argc, char** argv);
int RunCgiCommand(int argc, char** argv);
int RunFastCgiCommand(int argc, char** argv);
int RunServeCommand(int argc, char** argv);
int RunCheckCommand(int argc, char** argv);
int RunVersionCommand();
int RunCopyStoreCommand(int argc, char** argv);

// Writes "vexl: <message>" and a hint to --help on stderr; returns kUsageExitStatus.
int ReportUsageError(const char* command, const char* message);
