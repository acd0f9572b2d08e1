// `vexl --version`: the version and what this build was made with, so that a
// bug report or a deployment check can tell builds apart.
#include <cstdio>

#include "app/AppCommands.h"
#include "foundation/Paths.h"
#include "quince/QuinceContext.h"

int RunVersionCommand()
{
    std::printf("vexl %s\n", VEXL_VERSION);
#ifdef VEXL_HAVE_FCGI
    std::puts("FastCGI: yes (vexl fcgi)");
#else
    std::puts("FastCGI: no (built without libfcgi)");
#endif
#ifdef VEXL_SANITIZED
    std::puts("sanitizers: AddressSanitizer, UndefinedBehaviorSanitizer");
#else
    std::puts("sanitizers: none");
#endif
    std::printf("build type: %s\n", VEXL_BUILD_TYPE);
    // Where user-defined tags will find their module (without a ModulePath).
    QuinceContext context(nullptr);
    const NyxString folders = context.GetModuleSearchPath(NyxString());
    const NyxString module = PathSearch(folders, "html.qnc");
    if (module.IsNotEmpty())
        std::printf("html module: %s\n", module.GetString());
    else
        std::printf("html module: not found; looked in: %s\n", folders.GetString());
    return 0;
}
