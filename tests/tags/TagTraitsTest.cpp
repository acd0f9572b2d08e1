// Tests of the tag traits table against the labels a page author writes.
#include "tags/TagTraits.h"

#include <string_view>
#include <utility>

#include <gtest/gtest.h>

namespace {

// Each handled label reaches its handler, and nothing that has one may be
// written as it is (a kept stretch would pass the handler by).
TEST(TagTraits, HandledLabelsReachTheirHandlerAndNeverPrintAsTheyAre) {
    const std::pair<std::string_view, TagHandling> handled[] = {
        {"a", TagHandling::Anchor},        {"FORM", TagHandling::Form},
        {"frame", TagHandling::Frame},     {"script", TagHandling::Script},
        {"Include", TagHandling::Include}, {"setvar", TagHandling::SetVar},
        {"loop", TagHandling::Loop},       {"deftag", TagHandling::DefineTag},
        {"if", TagHandling::If},           {"setheader", TagHandling::SetHeader},
        {"translation", TagHandling::Translation},
    };
    for (const auto& [label, handling] : handled) {
        const TagTraits traits = GetTagTraits(LookupTagId(label));
        EXPECT_EQ(traits.Handling, handling) << label;
        EXPECT_FALSE(traits.PrintsAsItIs) << label;
    }
}

// A plan follows only what it has a kind for; the rest of a body is walked.
TEST(TagTraits, PlansFollowTextPlainTagsConditionsAndDirectivesOnly) {
    for (std::string_view label : {"if", "else", "elseif", "endif", "setvar", "setheader", "td", "b", "blink"}) {
        EXPECT_TRUE(GetTagTraits(LookupTagId(label)).Planned) << label;
    }
    EXPECT_TRUE(GetTagTraits(TagId::Text).Planned);
    for (std::string_view label : {"a", "form", "frame", "script", "include", "loop", "deftag", "translation"}) {
        EXPECT_FALSE(GetTagTraits(LookupTagId(label)).Planned) << label;
    }
}

// Text and HTML without a handler print as they are (even tags the parser
// does not know); the page language's own tags never do, and neither does an
// id outside every table.
TEST(TagTraits, OnlyTextAndPlainHtmlPrintAsTheyAre) {
    EXPECT_TRUE(GetTagTraits(TagId::Text).PrintsAsItIs);
    for (std::string_view label : {"td", "tr", "textarea", "style", "b", "no-such-tag"}) {
        const TagTraits traits = GetTagTraits(LookupTagId(label));
        EXPECT_TRUE(traits.PrintsAsItIs) << label;
        EXPECT_EQ(traits.Handling, TagHandling::Written) << label;
    }
    for (std::string_view label : {"else", "elseif", "endif"}) {
        const TagTraits traits = GetTagTraits(LookupTagId(label));
        EXPECT_FALSE(traits.PrintsAsItIs) << label;
        EXPECT_EQ(traits.Handling, TagHandling::Written) << label;
    }
    EXPECT_FALSE(GetTagTraits(5000).PrintsAsItIs);
    EXPECT_FALSE(GetTagTraits(-1).PrintsAsItIs);
}

// The text behind these may be skipped, repeated or changed; behind a plain
// tag or a header it goes out as written.
TEST(TagTraits, TagsThatChangeLaterText) {
    for (std::string_view label : {"script", "include", "setvar", "loop", "deftag", "if", "translation"}) {
        EXPECT_TRUE(GetTagTraits(LookupTagId(label)).ChangesLaterText) << label;
    }
    for (std::string_view label : {"td", "setheader", "endif"}) {
        EXPECT_FALSE(GetTagTraits(LookupTagId(label)).ChangesLaterText) << label;
    }
}

}  // namespace
