#include "msicomp/mergemods/MsmInfoExtracter.h"

#include "core/Exception.h"
#include "msicomp/InstallerString.h"
#include "msicomp/MsiDatabase.h"
#include "msicomp/MsiHandle.h"
#include "os/FileSystem.h"
#include "res/TextIds.h"

namespace kw {

namespace {

constexpr const wchar_t* kContext = L"MergeMod";

// The exception of a failed installer call: its error code, its name and a context word.
[[noreturn]] void ThrowCallFailed(
    std::wstring file, int line, UINT error, const wchar_t* call, const wchar_t* context = kContext)
{
    throw Exception(std::move(file), line, IDS_INSTALLER_CALL_FAILED, error, call, context);
}

std::wstring ReadSummaryText(MSIHANDLE summary, UINT property, const wchar_t* call, const wchar_t* context, int line)
{
    std::wstring text;
    const UINT result = ReadInstallerString(
        [&](wchar_t* buffer, DWORD* size) {
            return MsiSummaryInfoGetPropertyW(summary, property, nullptr, nullptr, nullptr, buffer, size);
        },
        text);
    if (result != ERROR_SUCCESS)
        ThrowCallFailed(SourceModule(__FILE__), line, result, call, context);
    return text;
}

// A required module's id is its name, a point and its GUID; the name is what is listed.
std::wstring ModuleName(const std::wstring& requiredId)
{
    const size_t point = requiredId.rfind(L'.');
    return point == std::wstring::npos ? requiredId : requiredId.substr(0, point);
}

} // namespace

bool MsmInfoExtracter::IsTableMissingOrEmpty(MSIHANDLE database, const wchar_t* table)
{
    const std::wstring query = L"SELECT * FROM `" + std::wstring(table) + L"`";
    MsiHandle view;
    MsiHandle record;
    return MsiDatabaseOpenViewW(database, query.c_str(), view.Put()) != ERROR_SUCCESS ||
        MsiViewExecute(view.Get(), 0) != ERROR_SUCCESS || MsiViewFetch(view.Get(), record.Put()) != ERROR_SUCCESS;
}

MergeModuleInfo MsmInfoExtracter::Read(const std::wstring& path) const
{
    MergeModuleInfo info;
    info.path = path;

    MsiHandle database;
    const std::wstring systemPath = SystemPath(path);
    const UINT opened = OpenPackage(systemPath, database);
    if (opened != ERROR_SUCCESS) {
        // Not every installer answers a missing file with ERROR_FILE_NOT_FOUND; the file's
        // absence is what counts.
        const bool missing = opened == ERROR_FILE_NOT_FOUND || !PathExists(path);
        info.status = missing ? kModuleNotFound : kNotAModule;
        return info;
    }
    // A database with features is a package, not a module.
    if (IsTableMissingOrEmpty(database.Get(), L"ModuleSignature") ||
        !IsTableMissingOrEmpty(database.Get(), L"Feature")) {
        info.status = kNotAModule;
        return info;
    }

    MsiHandle summary;
    if (MsiGetSummaryInformationW(database.Get(), systemPath.c_str(), 0, summary.Put()) != ERROR_SUCCESS)
        ThrowCallFailed(KW_HERE, 0, L"MsiGetSummaryInformation");
    info.subject =
        ReadSummaryText(summary.Get(), PID_SUBJECT, L"MsiSummaryInfoGetProperty PID_SUBJECT", kContext, __LINE__);
    info.author =
        ReadSummaryText(summary.Get(), PID_AUTHOR, L"MsiSummaryInfoGetProperty PID_AUTHOR", kContext, __LINE__);
    info.comments =
        ReadSummaryText(summary.Get(), PID_COMMENTS, L"MsiSummaryInfoGetProperty PID_COMMENTS", kContext, __LINE__);
    const std::wstring platform =
        ReadSummaryText(summary.Get(), PID_TEMPLATE, L"MsiSummaryInfoGetProperty", L"Package Type", __LINE__);
    info.platform = platform.substr(0, platform.find(L';'));

    MsiHandle signature;
    if (const UINT result = MsiDatabaseOpenViewW(database.Get(), L"SELECT * FROM `ModuleSignature`", signature.Put()))
        ThrowCallFailed(KW_HERE, result, L"MsiDatabaseOpenView");
    if (const UINT result = MsiViewExecute(signature.Get(), 0))
        ThrowCallFailed(KW_HERE, result, L"MsiViewExecute");
    // A failed fetch or version read names the summary call: reports have always said so.
    MsiHandle record;
    if (const UINT result = MsiViewFetch(signature.Get(), record.Put()))
        ThrowCallFailed(KW_HERE, result, L"MsiGetSummaryInformation");
    if (const UINT result = ReadInstallerString(
            [&](wchar_t* buffer, DWORD* size) { return MsiRecordGetStringW(record.Get(), 3, buffer, size); },
            info.version))
        ThrowCallFailed(KW_HERE, result, L"MsiGetSummaryInformation");

    // Dependencies are best effort: a failure ends the list where it got to.
    MsiHandle dependencies;
    if (MsiDatabaseOpenViewW(database.Get(), L"SELECT * FROM `ModuleDependency`", dependencies.Put()) ==
            ERROR_SUCCESS &&
        MsiViewExecute(dependencies.Get(), 0) == ERROR_SUCCESS) {
        MsiHandle dependency;
        while (MsiViewFetch(dependencies.Get(), dependency.Put()) == ERROR_SUCCESS) {
            std::wstring requiredId;
            if (ReadInstallerString([&](wchar_t* buffer,
                                        DWORD* size) { return MsiRecordGetStringW(dependency.Get(), 3, buffer, size); },
                    requiredId) != ERROR_SUCCESS)
                break;
            if (!info.dependencies.empty())
                info.dependencies += L"; ";
            info.dependencies += ModuleName(requiredId);
        }
    }
    return info;
}

} // namespace kw
