// File operations on Windows. Every path goes through SystemPath, so that a path of 260
// characters or more is used in its "\\?\" form; a folder's entries are joined to the plain
// path first and take the long form on their own when they reach that length.
#include <windows.h>

#include <algorithm>
#include <atomic>

#include "os/FileSystem.h"
#include "os/win32/Handles_win32.h"

namespace kw {

const wchar_t kPathSeparator = L'\\';

namespace {

// The result of an operation whose owners are already closed, so that closing them cannot
// change the error that the caller reads.
bool Succeeded(DWORD error)
{
    SetLastError(error);
    return error == ERROR_SUCCESS;
}

std::wstring Join(const std::wstring& folder, const wchar_t* name)
{
    if (!folder.empty() && (folder.back() == L'\\' || folder.back() == L'/'))
        return folder + name;
    return folder + L'\\' + name;
}

bool IsDotOrDotDot(const wchar_t* name)
{
    return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

// Calls `visit` for every entry of the folder ("\*") but "." and ".." until it answers an
// error; the error of the search or of `visit`, or ERROR_SUCCESS.
template <typename Visit> DWORD SearchFolder(const std::wstring& folder, Visit visit)
{
    WIN32_FIND_DATAW data;
    const FindOwner search(FindFirstFileW(SystemPath(Join(folder, L"*")).c_str(), &data));
    if (!search)
        return GetLastError();
    do {
        if (!IsDotOrDotDot(data.cFileName)) {
            const DWORD error = visit(data);
            if (error != ERROR_SUCCESS)
                return error;
        }
    } while (FindNextFileW(search.Get(), &data));
    const DWORD error = GetLastError();
    return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

DWORD LastErrorUnless(BOOL succeeded) { return succeeded ? ERROR_SUCCESS : GetLastError(); }

// Read-only entries cannot be deleted until they are made writable.
void AllowDeletion(const std::wstring& systemPath, DWORD attributes)
{
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0)
        SetFileAttributesW(systemPath.c_str(), attributes & ~FILE_ATTRIBUTE_READONLY);
}

DWORD RemoveTree(const std::wstring& folder)
{
    const DWORD error = SearchFolder(folder, [&folder](const WIN32_FIND_DATAW& data) {
        const std::wstring path = Join(folder, data.cFileName);
        const std::wstring systemPath = SystemPath(path);
        AllowDeletion(systemPath, data.dwFileAttributes);
        if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            return LastErrorUnless(DeleteFileW(systemPath.c_str()));
        // A junction or link to a folder is removed as a link; what it points to stays.
        if ((data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
            return LastErrorUnless(RemoveDirectoryW(systemPath.c_str()));
        return RemoveTree(path);
    });
    if (error != ERROR_SUCCESS)
        return error;
    return LastErrorUnless(RemoveDirectoryW(SystemPath(folder).c_str()));
}

bool IsFolder(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(SystemPath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

DWORD CreateFolderTree(const std::wstring& folder)
{
    if (CreateDirectoryW(SystemPath(folder).c_str(), nullptr))
        return ERROR_SUCCESS;
    const DWORD error = GetLastError();
    if (error == ERROR_ALREADY_EXISTS)
        return IsFolder(folder) ? ERROR_SUCCESS : error;
    if (error != ERROR_PATH_NOT_FOUND)
        return error;
    // Only a missing folder above it is worth creating; a drive or share root is never missing.
    std::wstring parent = folder;
    while (!parent.empty() && (parent.back() == L'\\' || parent.back() == L'/'))
        parent.pop_back();
    const size_t separator = parent.find_last_of(L"\\/");
    if (separator == std::wstring::npos || separator == 0)
        return error;
    parent.erase(separator);
    const DWORD parentError = CreateFolderTree(parent);
    if (parentError != ERROR_SUCCESS)
        return parentError;
    if (CreateDirectoryW(SystemPath(folder).c_str(), nullptr))
        return ERROR_SUCCESS;
    const DWORD retryError = GetLastError();
    return retryError == ERROR_ALREADY_EXISTS && IsFolder(folder) ? ERROR_SUCCESS : retryError;
}

DWORD ReadAll(const std::wstring& path, std::string& bytes)
{
    const FileOwner file(
        CreateFileW(SystemPath(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
            nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return GetLastError();
    bytes.clear();
    char buffer[65536];
    for (;;) {
        DWORD got = 0;
        if (!ReadFile(file.Get(), buffer, sizeof buffer, &got, nullptr))
            return GetLastError();
        if (got == 0)
            return ERROR_SUCCESS;
        bytes.append(buffer, got);
    }
}

DWORD WriteAll(HANDLE file, std::string_view bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(bytes.size() - done, 1 << 20));
        DWORD written = 0;
        if (!WriteFile(file, bytes.data() + done, chunk, &written, nullptr))
            return GetLastError();
        done += written;
    }
    return ERROR_SUCCESS;
}

std::wstring TemporaryNameBeside(const std::wstring& path)
{
    static std::atomic<unsigned> counter{0};
    return path + L".tmp" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(counter++);
}

DWORD WriteTemporary(const std::wstring& temporary, std::string_view bytes)
{
    const FileOwner file(CreateFileW(
        SystemPath(temporary).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return GetLastError();
    const DWORD error = WriteAll(file.Get(), bytes);
    if (error != ERROR_SUCCESS)
        return error;
    return LastErrorUnless(FlushFileBuffers(file.Get()));
}

} // namespace

std::wstring SystemPath(std::wstring_view path) { return WithLongPathPrefix(path); }

bool PathExists(const std::wstring& path)
{
    return GetFileAttributesW(SystemPath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool ListFolder(const std::wstring& folder, std::vector<FolderEntry>& entries)
{
    return Succeeded(SearchFolder(folder, [&entries](const WIN32_FIND_DATAW& data) {
        entries.push_back({data.cFileName, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0});
        return static_cast<DWORD>(ERROR_SUCCESS);
    }));
}

bool CreateFolders(const std::wstring& folder) { return Succeeded(CreateFolderTree(folder)); }

bool RemoveFolder(const std::wstring& folder) { return Succeeded(RemoveTree(folder)); }

bool ReadFileBytes(const std::wstring& path, std::string& bytes) { return Succeeded(ReadAll(path, bytes)); }

bool ReplaceFileBytes(const std::wstring& path, std::string_view bytes)
{
    const std::wstring temporary = TemporaryNameBeside(path);
    DWORD error = WriteTemporary(temporary, bytes);
    if (error == ERROR_SUCCESS) {
        error = LastErrorUnless(MoveFileExW(SystemPath(temporary).c_str(), SystemPath(path).c_str(),
            MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
    }
    if (error != ERROR_SUCCESS)
        DeleteFileW(SystemPath(temporary).c_str());
    return Succeeded(error);
}

} // namespace kw
