// CheckMessage: one finding of `vexl check`, at a place in a page file.
#pragma once

#include <string>

struct CheckMessage {
    enum class Severity { Error, Warning };
    std::string File;
    unsigned Line = 0;
    unsigned Column = 0;
    Severity Level = Severity::Error;
    std::string Text;

    bool operator==(const CheckMessage&) const = default;
};

// FILE:LINE:COLUMN: error|warning: TEXT (no line end), as compilers write it.
std::string FormatCheckMessage(const CheckMessage& message);
