// TagRules: what the page language's own tags take: their parameters, which
// of them must be there, and the closest known name to a misspelt one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct OwnTagRules {
    std::string_view Name;                      // as page authors write it: "SETVAR"
    std::vector<std::string_view> Parameters;   // every parameter the tag reads
    // Groups of which one parameter must be present ({"file", "htmlfile",
    // "_htmlfile"} for INCLUDE: any one of them).
    std::vector<std::vector<std::string_view>> Required;
};

// The rules of an own tag by its id; null for any other id.
const OwnTagRules* FindOwnTagRules(int tagId);

// For a label that no table knows: the own tag it is probably a misspelling
// of ("SETVRA" gives "SETVAR"), or "" when it is not close to any.
std::string SuggestOwnTag(std::string_view label);

// The parameter of `rules` closest to `name`, or "" when none is close.
std::string SuggestParameter(const OwnTagRules& rules, std::string_view name);

// Edits (insert, delete, replace, swap of neighbours) between two words,
// without regard to ASCII case; stops counting past `limit`.
unsigned EditDistance(std::string_view a, std::string_view b, unsigned limit);
