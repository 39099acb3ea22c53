#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "TemporaryFolder.h"
#include "repository/PackageRepository.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

void Touch(const std::wstring& path) { std::ofstream(ToUtf8(path)) << "x"; }

TEST(FilePatterns, StarsAndQuestionMarksIgnoringCase)
{
    for (const wchar_t* name : {L"a.msi", L"A.MSI", L"x.y.msi", L".msi"})
        EXPECT_TRUE(MatchesPattern(name, L"*.msi")) << name;
    for (const wchar_t* name : {L"a.msix", L"a.ms", L"msi", L"a.msi.txt"})
        EXPECT_FALSE(MatchesPattern(name, L"*.msi")) << name;
    EXPECT_TRUE(MatchesPattern(L"abcabc", L"a*b*c"));
    EXPECT_TRUE(MatchesPattern(L"a1.msi", L"a?.MSI"));
    EXPECT_FALSE(MatchesPattern(L"a12.msi", L"a?.msi"));
    EXPECT_TRUE(MatchesPattern(L"", L"*"));
}

TEST(RepositoryListing, FilesOfTheFolderComeFirstThenTenLevelsOfSubfolders)
{
    TemporaryFolder root;
    Touch(root / L"a.msi");
    Touch(root / L"B.MSI");
    Touch(root / L"notes.txt");
    CreateFolders(root / L"folder.msi"); // a folder is never listed, but it is searched
    Touch((root / L"folder.msi") + kPathSeparator + L"inner.msi");
    std::wstring deep = root.Path();
    for (int level = 1; level <= 11; ++level) {
        deep += kPathSeparator + std::wstring(L"level") + std::to_wstring(level);
        CreateFolders(deep);
        Touch(deep + kPathSeparator + L"at" + std::to_wstring(level) + L".msi");
    }

    std::vector<std::wstring> found;
    ASSERT_TRUE(ListFiles(root.Path(), L"*.msi", found, 10));
    ASSERT_EQ(found.size(), 13u); // two beside, one in folder.msi, levels 1 to 10
    const std::vector<std::wstring> topLevel(found.begin(), found.begin() + 2);
    EXPECT_EQ(std::set<std::wstring>(topLevel.begin(), topLevel.end()),
        (std::set<std::wstring>{root / L"a.msi", root / L"B.MSI"}));
    const auto eleventh =
        std::find_if(found.begin(), found.end(), [](const std::wstring& f) { return f.ends_with(L"at11.msi"); });
    EXPECT_EQ(eleventh, found.end());
    EXPECT_NE(std::find(found.begin(), found.end(),
                  deep.substr(0, deep.rfind(kPathSeparator)) + kPathSeparator + L"at10.msi"),
        found.end());

    std::vector<std::wstring> withSeparator;
    ListFiles(root.Path() + kPathSeparator, L"*.msi", withSeparator, 10);
    EXPECT_EQ(withSeparator, found);

    std::vector<std::wstring> onlyTheFolder;
    ListFiles(root.Path(), L"*.msi", onlyTheFolder, 0);
    EXPECT_EQ(onlyTheFolder.size(), 2u);

    std::vector<std::wstring> none;
    EXPECT_FALSE(ListFiles(root / L"missing", L"*.msi", none, 10));
    EXPECT_FALSE(ListFiles(root.Path(), L"*.msi", none, -1));
    EXPECT_TRUE(none.empty());
}

} // namespace
} // namespace kw
