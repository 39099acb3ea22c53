#include <gtest/gtest.h>

#include <sys/utsname.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "os/OsVersion.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

// Debian writes PRETTY_NAME="..." with nothing to unescape, which a plain reading gives.
std::wstring PrettyNameOfThisSystem()
{
    std::ifstream file("/etc/os-release");
    std::string line;
    while (std::getline(file, line)) {
        if (line.starts_with("PRETTY_NAME=\""))
            return FromUtf8(line.substr(13, line.size() - 14));
    }
    return {};
}

TEST(OsVersion, PosixVersionComesFromUnameAndOsRelease)
{
    utsname names{};
    ASSERT_EQ(::uname(&names), 0);
    unsigned major = 0;
    unsigned minor = 0;
    ASSERT_EQ(std::sscanf(names.release, "%u.%u", &major, &minor), 2);

    const OsVersion& version = GetOsVersion();
    EXPECT_EQ(version.major, major);
    EXPECT_EQ(version.minor, minor);
    EXPECT_EQ(version.buildNumber, FromUtf8(names.release));
    EXPECT_EQ(version.servicePack, PrettyNameOfThisSystem());
    EXPECT_FALSE(version.servicePack.empty());
    EXPECT_EQ(version.productType, kProductWorkstation);
    EXPECT_FALSE(version.server);
    EXPECT_EQ(version.suiteMask, 0);
    EXPECT_EQ(&GetOsVersion(), &version);
}

} // namespace
} // namespace kw
