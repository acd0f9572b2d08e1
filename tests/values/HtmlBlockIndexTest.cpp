// HtmlBlockIndex answers every partner search as a plain forward scan by
// depth would: checked against such a scan on random tag soup.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "values/HtmlBlockIndex.h"
#include "values/HtmlObjectList.h"
#include "values/HtmlTagIds.h"

namespace {

using IfStop = HtmlBlockIndex::IfStop;

int ScanIf(const HtmlObjectList& list, int index, IfStop stop) {
    int depth = 0;
    int at = index + 1;
    for (const HtmlObject* object = list.GetEntry(at); object != nullptr; object = list.GetEntry(++at)) {
        const int id = object->GetTagId();
        if (id == TagId::If) {
            ++depth;
        } else if (id == TagId::EndIf) {
            if (depth == 0) return at;
            --depth;
        } else if (depth == 0 && id == TagId::ElseIf && stop == IfStop::ElseIfElseEnd) {
            return at;
        } else if (depth == 0 && id == TagId::Else && stop != IfStop::End) {
            return at;
        }
    }
    return at - 1;
}

int ScanLoop(const HtmlObjectList& list, int index) {
    int depth = 0;
    int at = index + 1;
    for (const HtmlObject* object = list.GetEntry(at); object != nullptr; object = list.GetEntry(++at)) {
        if (object->GetTagId() != TagId::Loop) continue;
        if (!object->IsEndTag()) ++depth;
        else if (depth-- == 0) return at;
    }
    return at;
}

TEST(HtmlBlockIndex, AgreesWithAForwardScanOnRandomPages) {
    const char* pieces[] = {"<IF condition=\"1\">", "<ELSEIF condition=\"0\">", "<ELSE>", "<ENDIF>", "</IF>",
                            "<LOOP condition=\"0\">", "</LOOP>", "text", "<p>", "</p>"};
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::string page;
        const int length = static_cast<int>(random() % 60);
        for (int i = 0; i < length; ++i) page += pieces[random() % 10];
        const HtmlObjectList list("page.vxl", page);
        const HtmlBlockIndex index(list);
        for (int i = 0; i < static_cast<int>(list.GetCount()); ++i) {
            for (IfStop stop : {IfStop::ElseIfElseEnd, IfStop::ElseEnd, IfStop::End}) {
                ASSERT_EQ(ScanIf(list, i, stop), index.FindIfPartner(i, stop)) << page << " at " << i;
            }
            ASSERT_EQ(ScanLoop(list, i), index.FindLoopPartner(i)) << page << " at " << i;
        }
    }
}

TEST(HtmlBlockIndex, ReplacingATagWithAnotherIdRebuildsTheIndex) {
    HtmlObjectList list("page.vxl", "<IF condition=\"1\">a<ENDIF>b<ENDIF>");
    EXPECT_EQ(2, list.GetBlockIndex().FindIfPartner(0, IfStop::End));
    auto* replacement = new HtmlObject(*list.GetEntry(2));
    replacement->SetTagId(TagId::If, 0);
    list.ReplaceEntry(2, replacement);
    EXPECT_EQ(4, list.GetBlockIndex().FindIfPartner(0, IfStop::End));
}

}  // namespace
