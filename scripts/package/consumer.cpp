// A program of a Vexl user: renders the page named on its command line with
// the installed library, a user-defined tag included (which needs html.qnc).
#include <cstdio>

#include "page/VexlPage.h"

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: consumer PAGE\n");
        return 2;
    }
    NyxString output;
    VexlPage page;
    page.SetOutput(&output);
    page.SetFile(NyxString(argv[1]));
    page.CreateOneVariable(NyxString("who"), NyxString("consumer"), QuinceContext::VarListPage);
    page.Process();
    std::fwrite(output.GetString(), 1, output.GetLength(), stdout);
    return 0;
}
