#pragma once
// Fixture packages, built from tests/fixtures into bin/fixtures beside the test program.
#include <gtest/gtest.h>

#include <string>

#include "msicomp/MsiDatabase.h"
#include "os/Module.h"

namespace kw {

inline std::wstring FixturePath(const std::wstring& name)
{
    const std::wstring folder = ExecutableFolder();
    return folder + L"fixtures" + folder.back() + name;
}

inline MsiHandle OpenFixture(const std::wstring& name)
{
    MsiHandle database;
    EXPECT_EQ(OpenPackage(FixturePath(name), database), 0u) << "cannot open fixture";
    return database;
}

} // namespace kw
