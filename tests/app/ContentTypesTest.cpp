// Tests of src/app/ContentTypes.cpp: what the development server sends as files.
#include "app/ContentTypes.cpp"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(ContentTypesTest, KnownExtensionsInAnyCase)
{
    EXPECT_EQ(std::string(FindStaticContentType("/a/style.css")), "text/css; charset=utf-8");
    EXPECT_EQ(std::string(FindStaticContentType("/LOGO.PNG")), "image/png");
}

TEST(ContentTypesTest, PrivateFilesHaveNoType)
{
    EXPECT_EQ(FindStaticContentType("/vexl.ini"), nullptr);
    EXPECT_EQ(FindStaticContentType("/translations.db"), nullptr);
    EXPECT_EQ(FindStaticContentType("/header.inc"), nullptr);
    EXPECT_EQ(FindStaticContentType("/folder.css/README"), nullptr);
    EXPECT_EQ(FindStaticContentType("/noextension"), nullptr);
}

}  // namespace
