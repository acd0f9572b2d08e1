// TagRules: the parameters each own tag's handler reads, kept beside the
// walker's tag ids; suggestions by a bounded edit distance.
#include "check/TagRules.h"

#include <algorithm>
#include <cctype>

#include "values/HtmlTagIds.h"

namespace {

struct RulesById {
    int Id;
    OwnTagRules Rules;
};

const std::vector<RulesById>& AllRules() {
    static const std::vector<RulesById> rules = {
        {TagId::Include, {"INCLUDE", {"file", "htmlfile", "_htmlfile", "onceonly", "condition"}, {{"file", "htmlfile", "_htmlfile"}}}},
        {TagId::SetVar, {"SETVAR", {"name", "value"}, {{"name"}, {"value"}}}},
        {TagId::Loop, {"LOOP", {"initialiser", "condition", "iterator"}, {{"condition"}}}},
        {TagId::DefTag, {"DEFTAG", {"name", "proc", "parseoutput"}, {{"name"}, {"proc"}}}},
        {TagId::If, {"IF", {"condition"}, {{"condition"}}}},
        {TagId::Else, {"ELSE", {}, {}}},
        {TagId::ElseIf, {"ELSEIF", {"condition"}, {{"condition"}}}},
        {TagId::EndIf, {"ENDIF", {}, {}}},
        {TagId::SetHeader, {"SETHEADER", {"name", "value"}, {{"name"}, {"value"}}}},
        {TagId::Translation,
         {"TRANSLATION", {"file", "table", "keycolumn", "valuecolumn", "enable", "disable"},
          {{"file"}, {"table"}, {"keycolumn"}, {"valuecolumn"}}}},
    };
    return rules;
}

// Words that are not one edit away but that authors write for an own tag.
struct Alias {
    std::string_view Written;
    std::string_view Meant;
};
constexpr Alias kAliases[] = {{"ENDLOOP", "/LOOP"}, {"ELIF", "ELSEIF"}, {"ELSIF", "ELSEIF"}, {"ELSE-IF", "ELSEIF"},
                              {"END-IF", "ENDIF"},  {"FI", "ENDIF"},    {"SET", "SETVAR"}};

bool SameIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

// Short words are near many others: "g" is not a misspelt "IF".
unsigned AllowedEdits(std::string_view word) { return word.size() <= 3 ? 0 : word.size() <= 5 ? 1 : 2; }

template <class Names>
std::string Closest(std::string_view word, const Names& names) {
    const unsigned allowed = AllowedEdits(word);
    std::string best;
    unsigned bestDistance = allowed + 1;
    for (std::string_view name : names) {
        const unsigned distance = EditDistance(word, name, allowed + 1);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = std::string(name);
        }
    }
    return best;
}

}  // namespace

const OwnTagRules* FindOwnTagRules(int tagId) {
    for (const RulesById& entry : AllRules()) {
        if (entry.Id == tagId) return &entry.Rules;
    }
    return nullptr;
}

std::string SuggestOwnTag(std::string_view label) {
    for (const Alias& alias : kAliases) {
        if (SameIgnoringCase(label, alias.Written)) return std::string(alias.Meant);
    }
    std::vector<std::string_view> names;
    for (const RulesById& entry : AllRules()) names.push_back(entry.Rules.Name);
    return Closest(label, names);
}

std::string SuggestParameter(const OwnTagRules& rules, std::string_view name) {
    // Parameters are short; one edit more than for tags still reads as a slip
    // ("condtion", "iterater", "initializer").
    std::string best;
    unsigned bestDistance = name.size() <= 3 ? 1 : 3;
    for (std::string_view parameter : rules.Parameters) {
        const unsigned distance = EditDistance(name, parameter, bestDistance);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = std::string(parameter);
        }
    }
    return best;
}

unsigned EditDistance(std::string_view a, std::string_view b, unsigned limit) {
    const std::size_t n = a.size(), m = b.size();
    if ((n > m ? n - m : m - n) >= limit) return limit;
    auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    // Three rows of the optimal-string-alignment table.
    std::vector<unsigned> before(m + 1), previous(m + 1), current(m + 1);
    for (std::size_t j = 0; j <= m; ++j) previous[j] = static_cast<unsigned>(j);
    for (std::size_t i = 1; i <= n; ++i) {
        current[0] = static_cast<unsigned>(i);
        unsigned rowBest = current[0];
        for (std::size_t j = 1; j <= m; ++j) {
            const unsigned cost = lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1;
            unsigned value = std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + cost});
            if (i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) && lower(a[i - 2]) == lower(b[j - 1]))
                value = std::min(value, before[j - 2] + 1);
            current[j] = value;
            rowBest = std::min(rowBest, value);
        }
        if (rowBest >= limit) return limit;
        before.swap(previous);
        previous.swap(current);
    }
    return std::min(previous[m], limit);
}
