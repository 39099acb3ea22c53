// The shim's own guarantees, which a comparison with msi.dll cannot show: its handle table
// under real threads, closed handles that stay closed and streams that outlive their view. The
// answers to edge cases (a package that is not there among them) are compared with msi.dll
// itself by tests/tools/MsiApiProbe; that libmsi's messages stay off standard error, by every
// end-to-end case.
#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "msicomp/MsiApi.h"
#include "msicomp/MsiHandle.h"
#include "msicomp/posix/HandleTable.h"
#include "os/Module.h"

// glib 2.74 hands the memory of its slice allocator from thread to thread in ways that the thread
// sanitizer cannot follow (glib is not instrumented); a build with the sanitizer reads these
// suppressions and so checks the shim and libmsi, not glib's allocator.
extern "C" const char* __tsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier): the sanitizer's name
extern "C" const char* __tsan_default_suppressions() { return "race:g_slice_alloc\nrace:g_slice_alloc0\n"; }

namespace kw {
namespace {

std::wstring Fixture(const wchar_t* name) { return ExecutableFolder() + L"fixtures/" + name; }

MsiHandle Open(const std::wstring& path)
{
    MsiHandle database;
    EXPECT_EQ(MsiOpenDatabaseW(path.c_str(), MSIDBOPEN_READONLY, database.Put()), ERROR_SUCCESS);
    return database;
}

MsiHandle Execute(const MsiHandle& database, const wchar_t* query)
{
    MsiHandle view;
    EXPECT_EQ(MsiDatabaseOpenViewW(database.Get(), query, view.Put()), ERROR_SUCCESS);
    EXPECT_EQ(MsiViewExecute(view.Get(), 0), ERROR_SUCCESS);
    return view;
}

std::wstring FieldText(MSIHANDLE record, UINT field)
{
    DWORD size = 0;
    wchar_t empty[1];
    if (MsiRecordGetStringW(record, field, empty, &size) != ERROR_MORE_DATA)
        return L"?";
    std::wstring text(++size, L'\0');
    EXPECT_EQ(MsiRecordGetStringW(record, field, text.data(), &size), ERROR_SUCCESS);
    text.resize(size);
    return text;
}

// Every row of the null-cells package's Cells table, fields joined by "|"; the records stay
// open until the end, and `opened` sees each record's number while it is open.
template <class Opened> std::vector<std::wstring> ReadCells(Opened opened)
{
    const MsiHandle database = Open(Fixture(L"null-cells.msi"));
    const MsiHandle view = Execute(database, L"SELECT * FROM `Cells`");
    std::vector<MsiHandle> records;
    std::vector<std::wstring> rows;
    for (MSIHANDLE fetched = 0; MsiViewFetch(view.Get(), &fetched) == ERROR_SUCCESS;) {
        const MsiHandle& record = records.emplace_back(fetched);
        opened(record.Get());
        std::wstring row;
        for (UINT field = 1; field <= MsiRecordGetFieldCount(record.Get()); ++field)
            row += FieldText(record.Get(), field) + L"|";
        rows.push_back(row);
    }
    return rows;
}

TEST(MsiShim, ThreadsReadTheirOwnHandlesAtOnceAndNeverShareANumber)
{
    const std::vector<std::wstring> expected = ReadCells([](MSIHANDLE) {});
    ASSERT_EQ(expected.size(), 11u);
    EXPECT_EQ(expected[3], L"smallest||-32767|-2147483647||");

    std::mutex lock;
    std::set<MSIHANDLE> open;
    std::vector<std::wstring> duplicates;
    std::vector<std::vector<std::wstring>> results(8);
    std::vector<std::thread> threads;
    threads.reserve(results.size());
    for (auto& result : results) {
        threads.emplace_back([&] {
            for (int round = 0; round < 25; ++round) {
                std::vector<MSIHANDLE> mine;
                result = ReadCells([&](MSIHANDLE record) {
                    const std::lock_guard<std::mutex> guard(lock);
                    if (!open.insert(record).second)
                        duplicates.push_back(std::to_wstring(record));
                    mine.push_back(record);
                });
                // The records are closed now; their numbers may not come back before the range goes round.
                const std::lock_guard<std::mutex> guard(lock);
                for (const MSIHANDLE record : mine)
                    EXPECT_EQ(MsiRecordGetFieldCount(record), static_cast<UINT>(-1));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(duplicates, std::vector<std::wstring>());
    EXPECT_EQ(open.size(), 8u * 25u * 11u);
    for (const auto& result : results)
        EXPECT_EQ(result, expected);
}

struct Object : msishim::HandleObject {
    static constexpr msishim::HandleKind kKind = msishim::HandleKind::View;
    Object() : HandleObject(kKind) { }
};

TEST(MsiHandleTable, NumbersComeBackOnlyAfterTheWholeRangeAndNeverWhileOpen)
{
    msishim::HandleTable table(4);
    std::vector<MSIHANDLE> numbers;
    numbers.reserve(5);
    for (int index = 0; index < 5; ++index)
        numbers.push_back(table.Add(std::make_shared<Object>()));
    EXPECT_EQ(numbers, (std::vector<MSIHANDLE>{1, 2, 3, 4, 0}));

    EXPECT_NE(table.Remove(1), nullptr);
    EXPECT_EQ(table.Remove(1), nullptr);
    EXPECT_NE(table.Remove(3), nullptr);
    EXPECT_EQ(table.Find<Object>(1), nullptr);
    EXPECT_NE(table.Find<Object>(2), nullptr);
    EXPECT_EQ(table.Find(2, msishim::HandleKind::Record), nullptr);
    // 2 and 4 are still open: the next numbers are 1 and 3, then none is left.
    EXPECT_EQ(table.Add(std::make_shared<Object>()), 1u);
    EXPECT_EQ(table.Add(std::make_shared<Object>()), 3u);
    EXPECT_EQ(table.Add(std::make_shared<Object>()), 0u);
}

TEST(MsiShim, RecordsKeepTheirStreamsAfterTheViewAndDatabaseAreClosed)
{
    MsiHandle database = Open(Fixture(L"streams.msi"));
    MsiHandle view = Execute(database, L"SELECT `Data` FROM `Blobs` WHERE `Blob` = 'lines'");
    MsiHandle record;
    ASSERT_EQ(MsiViewFetch(view.Get(), record.Put()), ERROR_SUCCESS);
    view.Reset();
    database.Reset();
    DWORD size = 0;
    ASSERT_EQ(MsiRecordReadStream(record.Get(), 1, nullptr, &size), ERROR_SUCCESS);
    ASSERT_EQ(size, 20485u);
    std::string bytes(size, '\0');
    EXPECT_EQ(MsiRecordReadStream(record.Get(), 1, bytes.data(), &size), ERROR_SUCCESS);
    EXPECT_EQ(bytes.substr(0, 34), "stream line 0000\nstream line 0001\n");
    EXPECT_EQ(bytes.substr(size - 17), "stream line 1204\n");
}

} // namespace
} // namespace kw
