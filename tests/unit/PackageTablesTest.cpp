#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

#include "Fixtures.h"
#include "msicomp/PackageTables.h"

namespace kw {
namespace {

struct File {
    std::wstring fileName;
    std::int64_t size;
    bool operator==(const File&) const = default;
};

std::map<std::wstring, File> Files(const PackageTables& tables)
{
    std::map<std::wstring, File> files;
    for (const auto& [path, entry] : tables.Files()) {
        EXPECT_EQ(entry.fullPath, path);
        files.emplace(path, File{entry.fileName, entry.size});
    }
    return files;
}

std::vector<std::vector<std::wstring>> Registry(const PackageTables& tables)
{
    std::vector<std::vector<std::wstring>> rows;
    for (const RegistryEntry& entry : tables.Registry())
        rows.push_back({entry.root, entry.key, entry.name, entry.value});
    return rows;
}

TEST(PackageTables, FilesAreKeyedByTheirFolderAndLongNameAndRegistryKeepsTableOrder)
{
    const MsiHandle database = OpenFixture(L"directories.msi");
    const PackageTables tables(database.Get(), kLoadEverything, false);
    const std::wstring app = L"ProgramFilesFolder\\Vendor Name\\App";
    // A file whose component is missing drops out; one whose folder is missing has none.
    EXPECT_EQ(Files(tables),
        (std::map<std::wstring, File>{
            {app + L"\\My Folder\\Program One.exe", {L"PROGRA~1.EXE|Program One.exe", 1000}},
            {app + L"\\plain.txt", {L"plain.txt", 20}},
            {app + L"\\Source\\source.dat", {L"SRC~1.DAT|source.dat", -3}},
            {L"\\lost.dll", {L"lost.dll", 5}},
        }));
    EXPECT_EQ(Registry(tables),
        (std::vector<std::vector<std::wstring>>{
            {L"2", L"Software\\Vendor\\App", L"Path", L"[APPDIR]"},
            {L"-1", L"Software\\Vendor\\App", L"", L"#1"},
            {L"0", L".vnd", L"", L""},
        }));
    EXPECT_EQ(tables.FullPathOf(L"NoSuchDirectory"), L"");
}

TEST(PackageTables, FileSizeThatIsNoInt32FailsWithTheStandardConversionErrors)
{
    const MsiHandle text = OpenFixture(L"filesize-not-a-number.msi");
    try {
        PackageTables tables(text.Get(), kLoadEverything, false);
        FAIL() << "a FileSize of abc was read";
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(), "invalid stoi argument");
    }
    const MsiHandle huge = OpenFixture(L"filesize-too-large.msi");
    try {
        PackageTables tables(huge.Get(), kLoadEverything, false);
        FAIL() << "a FileSize of 99999999999 was read";
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "stoi argument out of range");
    }
    EXPECT_EQ(ParseFileSize(L"  +12kB"), 12);
    EXPECT_EQ(ParseFileSize(L"-2147483648"), -2147483648LL);
    EXPECT_THROW(ParseFileSize(L"2147483648"), std::out_of_range);
    EXPECT_THROW(ParseFileSize(L"-"), std::invalid_argument);
    EXPECT_THROW(ParseFileSize(L""), std::invalid_argument);
}

} // namespace
} // namespace kw
