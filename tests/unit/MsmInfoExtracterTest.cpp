#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "Fixtures.h"
#include "msicomp/mergemods/MsmInfoExtracter.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

// The end-to-end cases show what is read from a module; no other field reaches the output.
TEST(MergeModules, WhatIsNoModuleIsAStatusNotAnError)
{
    EXPECT_EQ(MsmInfoExtracter().Read(FixturePath(L"no-such.msm")).status, kModuleNotFound);
    EXPECT_EQ(MsmInfoExtracter().Read(FixturePath(L"package-as-module.msi")).status, kNotAModule);
    EXPECT_EQ(MsmInfoExtracter().Read(FixturePath(L"directories.msi")).status, kNotAModule);

    const std::wstring text = FixturePath(L"not-a-database.msm");
    std::ofstream(ToUtf8(text)) << "not a database\n";
    const MergeModuleInfo info = MsmInfoExtracter().Read(text);
    std::remove(ToUtf8(text).c_str());
    EXPECT_EQ(info.status, kNotAModule);
    EXPECT_EQ(info.path, text);
    EXPECT_EQ(info.version, L"");
}

} // namespace
} // namespace kw
