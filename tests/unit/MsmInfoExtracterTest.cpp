#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "Fixtures.h"
#include "msicomp/mergemods/MsmInfoExtracter.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

TEST(MergeModules, ModuleDescribesItselfWithDependenciesByName)
{
    const MergeModuleInfo info = MsmInfoExtracter().Read(FixturePath(L"module.msm"));
    EXPECT_EQ(info.status, kModuleRead);
    EXPECT_EQ(info.subject, L"Imaging Library");
    EXPECT_EQ(info.version, L"2.4.1");
    EXPECT_EQ(info.dependencies, L"Runtime; Codec.Extra");
    EXPECT_EQ(info.author, L"Larkspur Labs");
    EXPECT_EQ(info.comments, L"Shared imaging code.");
    EXPECT_EQ(info.path, FixturePath(L"module.msm"));
    EXPECT_EQ(info.platform, L"Intel");

    const MergeModuleInfo alone = MsmInfoExtracter().Read(FixturePath(L"module-without-dependencies.msm"));
    EXPECT_EQ(alone.status, kModuleRead);
    EXPECT_EQ(alone.dependencies, L"");
    EXPECT_EQ(alone.comments, L"");
    EXPECT_EQ(alone.platform, L"x64");
}

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
