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

namespace kw {
namespace {

// The cells of these columns of joined rows: "table.column" or "second.column".
std::vector<std::wstring> Joined(const std::vector<JoinedRow>& rows, const MsiTableView& table,
    const MsiTableView* second, std::initializer_list<const wchar_t*> columns)
{
    std::vector<std::wstring> cells;
    for (const JoinedRow& row : rows) {
        std::wstring line;
        for (const std::wstring_view column : columns) {
            const bool ofSecond = column.starts_with(L"second.");
            const MsiTableView& from = ofSecond ? *second : table;
            const size_t index = from.ColumnIndex(column.substr(column.find(L'.') + 1));
            line.append(line.empty() ? L"" : L" ").append(from.Value(ofSecond ? row.second : row.row, index));
        }
        cells.push_back(line);
    }
    return cells;
}

std::vector<std::wstring> InstallerJoin(MSIHANDLE database, const MsiJoin& join)
{
    MsiTableView view(database);
    view.LoadJoin(join);
    std::vector<std::wstring> cells;
    for (size_t row = 0; row < view.RowCount(); ++row) {
        std::wstring line;
        for (size_t column = 0; column < view.ColumnNames().size(); ++column)
            line.append(column == 0 ? L"" : L" ").append(view.Value(row, column));
        cells.push_back(line);
    }
    return cells;
}

// The joins made in memory give the rows of the installer's own join queries in its order:
// component by component, then by the second table's rows, then by the table's own; rows
// without a component or a second row drop out, and a row with two matches comes twice.
TEST(ComponentJoin, GivesTheRowsOfTheInstallersJoinInItsOrder)
{
    const MsiHandle database = OpenFixture(L"join-order.msi");
    const ComponentTable components(database.Get());
    ASSERT_TRUE(components.Complete());
    MsiTableView files(database.Get());
    files.LoadTable(L"File", nullptr);
    const std::vector<std::wstring> filesJoined = Joined(
        components.Join(files, files.ColumnIndex(L"Component_")), files, nullptr, {L"File.File", L"File.Component_"});
    EXPECT_EQ(filesJoined, (std::vector<std::wstring>{L"F2 Later", L"F1 Earlier", L"F3 Earlier"}));

    static constexpr MsiJoinColumn kFileColumns[] = {{L"File", 0}, {L"Component_", 0}, {nullptr, 0}};
    static constexpr MsiJoinColumn kNoColumns[] = {{nullptr, 0}};
    static constexpr MsiJoinTable kFileTables[] = {
        {L"File", kFileColumns}, {L"Component", kNoColumns}, {nullptr, nullptr}};
    static constexpr MsiJoinCondition kByComponent[] = {
        {L"File", L"Component_", L"Component", L"Component"}, {nullptr, nullptr, nullptr, nullptr}};
    EXPECT_EQ(filesJoined, InstallerJoin(database.Get(), {kFileTables, kByComponent}));

    MsiTableView extensions(database.Get());
    extensions.LoadTable(L"Extension", nullptr);
    MsiTableView verbs(database.Get());
    verbs.LoadTable(L"Verb", nullptr);
    const std::vector<std::wstring> verbsJoined =
        Joined(components.Join(extensions, extensions.ColumnIndex(L"Component_"), verbs,
                   verbs.ColumnIndex(L"Extension_"), extensions.ColumnIndex(L"Extension")),
            extensions, &verbs, {L"Extension.Extension", L"Extension.Component_", L"second.Verb"});
    EXPECT_EQ(verbsJoined,
        (std::vector<std::wstring>{
            L"ext1 Later open", L"ext1 Later print", L"ext2 Later open", L"ext1 Earlier open", L"ext1 Earlier print"}));

    static constexpr MsiJoinColumn kExtensionColumns[] = {{L"Extension", 0}, {L"Component_", 0}, {nullptr, 0}};
    static constexpr MsiJoinColumn kVerbColumns[] = {{L"Verb", 0}, {nullptr, 0}};
    static constexpr MsiJoinTable kVerbTables[] = {
        {L"Extension", kExtensionColumns}, {L"Verb", kVerbColumns}, {L"Component", kNoColumns}, {nullptr, nullptr}};
    static constexpr MsiJoinCondition kVerbConditions[] = {{L"Extension", L"Extension", L"Verb", L"Extension_"},
        {L"Extension", L"Component_", L"Component", L"Component"}, {nullptr, nullptr, nullptr, nullptr}};
    EXPECT_EQ(verbsJoined, InstallerJoin(database.Get(), {kVerbTables, kVerbConditions}));
}

} // namespace
} // namespace kw
