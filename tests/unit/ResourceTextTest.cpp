#include <gtest/gtest.h>

#include "os/Module.h"
#include "os/ResourceText.h"

namespace kw {
namespace {

TEST(ResourceTexts, ScriptTextsReadTheSameOnEveryPlatform)
{
    const auto library = TextLibrary::Open(ExecutableFolder() + KW_TEST_TEXTS_FILE);
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(library->Find(1), L"a \"quoted\" \\ back\nline\ttab");
    EXPECT_EQ(library->Find(2), L"caf\u00e9 \u2014 \U0001F600 end");
    EXPECT_EQ(library->Find(3), L"");
    EXPECT_EQ(library->Find(4), L"");
    EXPECT_EQ(library->Find(5), L"100%% %1 done");
}

TEST(ResourceTexts, ProgramTextsComeFromTheLibraryBesideTheExecutable)
{
    EXPECT_EQ(LoadText(5785), L"The detection was cancelled.");
    EXPECT_EQ(LoadText(5785, 9), L"The dete");
    EXPECT_EQ(LoadText(5785, 0), L"");
    EXPECT_EQ(LoadText(5785, 29), L"The detection was cancelled.");
    EXPECT_EQ(LoadText(64999), L"");
}

} // namespace
} // namespace kw
