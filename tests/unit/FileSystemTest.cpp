#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "TemporaryFolder.h"
#include "os/FileSystem.h"
#include "os/SystemError.h"

namespace kw {
namespace {

std::vector<FolderEntry> SortedEntries(const std::wstring& folder)
{
    std::vector<FolderEntry> entries;
    EXPECT_TRUE(ListFolder(folder, entries));
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return entries;
}

TEST(LongPaths, PrefixFromTwoHundredSixtyCharacters)
{
    const std::wstring path259 = L"C:\\" + std::wstring(256, L'a');
    const std::wstring path260 = path259 + L"b";
    EXPECT_EQ(WithLongPathPrefix(path259), path259);
    EXPECT_EQ(WithLongPathPrefix(path260), L"\\\\?\\" + path260);
    EXPECT_EQ(WithLongPathPrefix(L"\\\\?\\" + path260), L"\\\\?\\" + path260);
    const std::wstring share = L"\\\\server\\packages\\" + std::wstring(242, L'x');
    EXPECT_EQ(WithLongPathPrefix(share), L"\\\\?\\UNC" + share.substr(1));
    // The host's own form: Windows needs the prefix, POSIX takes the path as it is.
    EXPECT_EQ(SystemPath(path260), kPathSeparator == L'\\' ? L"\\\\?\\" + path260 : path260);
}

TEST(FileOperations, FoldersBeyondTheWindowsLimitAreCreatedListedAndRemoved)
{
    const TemporaryFolder temporary;
    const std::wstring level = L"a-folder-with-a-rather-long-name";
    std::wstring deep = temporary.Path();
    while (deep.size() < 2 * kLongPathLength)
        deep += kPathSeparator + level;
    ASSERT_TRUE(CreateFolders(deep));
    const std::wstring file = deep + kPathSeparator + L"file.txt";
    ASSERT_TRUE(ReplaceFileBytes(file, "first"));
    ASSERT_TRUE(ReplaceFileBytes(file, "second"));
    std::string content;
    EXPECT_TRUE(ReadFileBytes(file, content));
    EXPECT_EQ(content, "second");
    EXPECT_EQ(SortedEntries(deep), (std::vector<FolderEntry>{{L"file.txt", false}}));

    // A read-only file does not stop the removal.
    ASSERT_TRUE(ReplaceFileBytes(temporary / L"top.txt", ""));
    std::filesystem::permissions(
        temporary / L"top.txt", std::filesystem::perms::owner_write, std::filesystem::perm_options::remove);
    ASSERT_TRUE(CreateFolders(temporary / L"empty"));
    EXPECT_EQ(SortedEntries(temporary / L"empty"), std::vector<FolderEntry>{});
    EXPECT_EQ(SortedEntries(temporary.Path()),
        (std::vector<FolderEntry>{{level, true}, {L"empty", true}, {L"top.txt", false}}));

    EXPECT_TRUE(RemoveFolder(temporary.Path()));
    EXPECT_FALSE(PathExists(temporary.Path()));
    EXPECT_EQ(LastSystemError(), 2u);
}

// POSIX gives the numbers that Windows gives for the same failures.
TEST(FileOperations, FailuresCarryTheWindowsErrorNumbers)
{
    const TemporaryFolder temporary;
    const std::wstring missing = temporary / L"missing";
    const std::wstring file = temporary / L"file.txt";
    ASSERT_TRUE(ReplaceFileBytes(file, "text"));
    const std::wstring inside = std::wstring(1, kPathSeparator) + L"x";
    std::vector<FolderEntry> entries;
    std::string content;

    EXPECT_FALSE(PathExists(missing));
    EXPECT_EQ(LastSystemError(), 2u);
    EXPECT_FALSE(PathExists(missing + inside));
    EXPECT_EQ(LastSystemError(), 3u);
    EXPECT_FALSE(ListFolder(missing, entries));
    EXPECT_EQ(LastSystemError(), 3u);
    EXPECT_FALSE(ReadFileBytes(temporary.Path(), content));
    EXPECT_EQ(LastSystemError(), 5u);
    EXPECT_FALSE(CreateFolders(file + inside));
    EXPECT_EQ(LastSystemError(), 183u);
}

} // namespace
} // namespace kw
