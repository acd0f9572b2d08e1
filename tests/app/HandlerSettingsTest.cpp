// Tests of src/app/HandlerSettings.cpp: where settings come from.
#include "app/HandlerSettings.cpp"
#include "app/UsageError.cpp"

#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

TEST(HandlerSettingsTest, DefaultsWithoutAnything)
{
    unsetenv("VEXL_ROOT");
    unsetenv("VEXL_INI");
    unsetenv("VEXL_MAX_BODY");
    unsetenv("VEXL_SESSION_EXPIRY");
    unsetenv("VEXL_TRANSLATIONS");
    HandlerSettings settings = ResolveHandlerSettings(HandlerOptions(), RequestEnvironment());
    EXPECT_EQ(settings.Root, "");
    EXPECT_EQ(settings.IniPath, "");
    EXPECT_EQ(settings.MaxBodyBytes, kDefaultMaxBodyBytes);
    EXPECT_EQ(settings.SessionExpirySeconds, kDefaultSessionExpirySeconds);
}

TEST(HandlerSettingsTest, OptionsWinOverRequestOverProcess)
{
    setenv("VEXL_MAX_BODY", "300", 1);
    RequestEnvironment environment{{"VEXL_MAX_BODY", "200"}, {"DOCUMENT_ROOT", "/srv/www"}};
    EXPECT_EQ(ResolveHandlerSettings(HandlerOptions(), RequestEnvironment()).MaxBodyBytes, 300u);
    EXPECT_EQ(ResolveHandlerSettings(HandlerOptions(), environment).MaxBodyBytes, 200u);
    HandlerOptions options;
    options.MaxBodyBytes = 100;
    EXPECT_EQ(ResolveHandlerSettings(options, environment).MaxBodyBytes, 100u);
    unsetenv("VEXL_MAX_BODY");
    EXPECT_EQ(ResolveHandlerSettings(options, environment).Root, "/srv/www");
    options.Root = "/other";
    EXPECT_EQ(ResolveHandlerSettings(options, environment).Root, "/other");
}

TEST(HandlerSettingsTest, IniBesidePagesIsFoundInTheRoot)
{
    unsetenv("VEXL_INI");
    TemporaryFolder folder;
    const std::string pattern = folder.Get();
    HandlerOptions options;
    options.Root = pattern;
    EXPECT_EQ(ResolveHandlerSettings(options, RequestEnvironment()).IniPath, "");
    std::string ini = pattern + "/vexl.ini";
    std::FILE* file = std::fopen(ini.c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    EXPECT_EQ(ResolveHandlerSettings(options, RequestEnvironment()).IniPath, ini);
    options.IniPath = "/etc/site.ini";
    EXPECT_EQ(ResolveHandlerSettings(options, RequestEnvironment()).IniPath, "/etc/site.ini");
}

TEST(HandlerSettingsTest, OptionParsing)
{
    const char* arguments[] = {"--max-body", "4096", "--root", "/srv", "--expiry", "0", "--other"};
    char** argv = const_cast<char**>(arguments);
    HandlerOptions options;
    EXPECT_EQ(ParseHandlerOption("cgi", 7, argv, 0, options), 2);
    EXPECT_EQ(options.MaxBodyBytes, 4096u);
    EXPECT_EQ(ParseHandlerOption("cgi", 7, argv, 2, options), 2);
    EXPECT_EQ(options.Root, "/srv");
    EXPECT_EQ(ParseHandlerOption("cgi", 7, argv, 4, options), -1);  // 0 is no usable expiry
    EXPECT_EQ(ParseHandlerOption("cgi", 7, argv, 6, options), 0);
    EXPECT_EQ(ParseHandlerOption("cgi", 1, argv, 0, options), -1);  // value missing
}

}  // namespace
