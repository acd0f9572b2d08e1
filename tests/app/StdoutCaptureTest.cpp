// Tests of src/app/StdoutCapture.cpp: stray standard output is caught.
#include "app/StdoutCapture.cpp"

#include <gtest/gtest.h>

namespace {

TEST(StdoutCaptureTest, CatchesStdioAndDescriptorWrites)
{
    StdoutCapture capture;
    ASSERT_TRUE(capture.Begin());
    std::printf("Failed to parse %s", "x.vxl");
    std::fflush(stdout);
    ASSERT_EQ(write(1, "|raw", 4), 4);
    EXPECT_EQ(capture.End(), "Failed to parse x.vxl|raw");
}

TEST(StdoutCaptureTest, NothingWrittenGivesEmptyText)
{
    StdoutCapture capture;
    ASSERT_TRUE(capture.Begin());
    EXPECT_EQ(capture.End(), "");
    EXPECT_EQ(capture.End(), "");  // a second End is harmless
}

TEST(StdoutCaptureTest, OutputIsCutAtTheLimit)
{
    StdoutCapture capture;
    ASSERT_TRUE(capture.Begin());
    std::string block(4096, 'x');
    for (long written = 0; written <= kMaxCapturedBytes; written += static_cast<long>(block.size()))
        std::fwrite(block.data(), 1, block.size(), stdout);
    EXPECT_EQ(capture.End().size(), static_cast<std::size_t>(kMaxCapturedBytes));
}

}  // namespace
