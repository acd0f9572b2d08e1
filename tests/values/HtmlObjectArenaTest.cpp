// Tests of HtmlObjectArena: alignment, large requests, reuse of blocks.
#include "values/HtmlObjectArena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "values/HtmlObject.h"

namespace {

TEST(HtmlObjectArenaTest, AllocationsAreAlignedAndDistinct) {
    HtmlObjectArena arena;
    char* previous = nullptr;
    for (std::size_t size : {1u, 7u, 16u, 33u, 100u}) {
        auto* memory = static_cast<char*>(arena.Allocate(size));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % HtmlObjectArena::kAlignment, 0u);
        if (previous != nullptr) {
            EXPECT_NE(memory, previous);
        }
        std::memset(memory, 0xAB, size);
        previous = memory;
    }
}

TEST(HtmlObjectArenaTest, RequestLargerThanABlockGetsItsOwn) {
    HtmlObjectArena arena;
    const std::size_t size = HtmlObjectArena::kBlockSize * 3;
    auto* memory = static_cast<char*>(arena.Allocate(size));
    std::memset(memory, 1, size);
    auto* after = static_cast<char*>(arena.Allocate(64));
    std::memset(after, 2, 64);
    EXPECT_EQ(memory[size - 1], 1);
}

TEST(HtmlObjectArenaTest, FreedBlocksServeTheNextArena) {
    void* first = nullptr;
    {
        HtmlObjectArena arena;
        first = arena.Allocate(32);
    }
    HtmlObjectArena next;
    EXPECT_EQ(next.Allocate(32), first);
}

TEST(HtmlObjectArenaTest, DestroyEndsArenaAndHeapObjectsAlike) {
    HtmlObjectArena arena;
    HtmlObject* inArena = arena.Make<HtmlObject>(3u);
    inArena->SetText("a text longer than the inline buffer of a string");
    inArena->AddEntry(arena.Make<HtmlTagParam>(std::string_view("n"), std::string_view("v"), L'"',
                                               HtmlTagParam::ValueForm::Quoted));
    inArena->AddEntry(new HtmlTagParam(NyxString("heap"), NyxString("value"), 0));
    EXPECT_EQ(inArena->GetLineNum(), 3u);
    inArena->DeleteEntry(1);  // an arena parameter deleted on its own
    HtmlObjectArena::Destroy(inArena);
    HtmlObjectArena::Destroy(new HtmlObject(0));
    HtmlObjectArena::Destroy<HtmlObject>(nullptr);
    SUCCEED();
}

}  // namespace
