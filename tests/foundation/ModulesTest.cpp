// Tests of module loading: a system library stands in for a function module.
#include "foundation/Modules.h"

#include <gtest/gtest.h>

TEST(ModulesTest, LoadsALibraryAndFindsASymbol) {
    void* handle = ModuleOpen("libm.so.6");
    ASSERT_NE(handle, nullptr);
    using Cosine = double (*)(double);
    auto cosine = reinterpret_cast<Cosine>(ModuleSymbol(handle, "cos"));
    ASSERT_NE(cosine, nullptr);
    EXPECT_DOUBLE_EQ(cosine(0.0), 1.0);
    EXPECT_EQ(ModuleSymbol(handle, "NoSuchFunctionAnywhere"), nullptr);
    ModuleClose(handle);
}

TEST(ModulesTest, MissingOrEmptyPathLoadsNothing) {
    EXPECT_EQ(ModuleOpen("/nonexistent/module.qnc"), nullptr);
    // dlopen of no name would hand back the program itself.
    EXPECT_EQ(ModuleOpen(""), nullptr);
}

TEST(ModulesTest, NullHandleIsAcceptedQuietly) {
    EXPECT_EQ(ModuleSymbol(nullptr, "cos"), nullptr);
    ModuleClose(nullptr);
}
