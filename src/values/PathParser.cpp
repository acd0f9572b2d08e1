// PathParser: splitting a path at its last separator and its last dot.
#include "values/PathParser.h"

PathParser::PathParser(const NyxString& path) : Path(path) {
    unsigned slash = path.FindLast("/");
    const unsigned backslash = path.FindLast("\\");
    if (slash == NyxString::kAll || (backslash != NyxString::kAll && backslash > slash)) slash = backslash;
    if (slash == NyxString::kAll) {
        FileName = path;
    } else {
        Dir = path.GetSubstring(0, slash + 1);
        FileName = path.GetSubstring(slash + 1);
    }
    const unsigned dot = FileName.FindLast(".");
    if (dot == NyxString::kAll || dot == 0) {
        FileNameWithoutExt = FileName;
    } else {
        FileNameWithoutExt = FileName.GetSubstring(0, dot);
        FileExt = FileName.GetSubstring(dot);
    }
}
