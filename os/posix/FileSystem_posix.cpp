// File operations on POSIX. Paths are used as they are (no limit at 260 characters, no
// prefix); each failure records the Win32 number of what Windows reports for the same
// failure, so that callers and messages read the same on both platforms.
#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <utility>
#include <vector>

#include "os/FileSystem.h"
#include "os/SystemError.h"
#include "os/posix/Handles_posix.h"
#include "os/posix/HomeFolder_posix.h"
#include "util/strings/StringSystem.h"

namespace kw {

const wchar_t kPathSeparator = L'/';

namespace {

constexpr std::uint32_t kErrorFileNotFound = 2;
constexpr std::uint32_t kErrorPathNotFound = 3;
constexpr std::uint32_t kErrorDiskFull = 112;
constexpr std::uint32_t kErrorGeneralFailure = 31;

struct ErrnoCode {
    int error;
    std::uint32_t code;
};

// The Win32 number of each errno value that file operations meet. ENOENT is not here: which
// of 2 or 3 it is depends on the path (MissingPathError).
constexpr ErrnoCode kErrnoCodes[] = {
    {ENOTDIR, 3}, // a part of the path is a file, which Windows reports as a path not found
    {EMFILE, 4},
    {ENFILE, 4},
    {EACCES, 5},
    {EPERM, 5},
    {EROFS, 5},
    {EISDIR, 5}, // Windows opens no folder as a file: access denied
    {ENOMEM, 8},
    {EXDEV, 17},
    {EBUSY, 32},
    {ETXTBSY, 32},
    {EINVAL, 87},
    {ENOSPC, kErrorDiskFull},
    {EDQUOT, kErrorDiskFull},
    {ENOTEMPTY, 145},
    {EEXIST, 183},
    {ENAMETOOLONG, 206},
    {EIO, 1117},
    {ELOOP, 1921},
};

std::string ParentOf(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool IsFolder(const std::string& path)
{
    struct stat info { };
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Windows tells "file not found" (only the last part of the path is missing) from "path not
// found" (a folder above it is missing).
std::uint32_t MissingPathError(const std::string& path)
{
    return IsFolder(ParentOf(path)) ? kErrorFileNotFound : kErrorPathNotFound;
}

// Records the failure `error` of an operation on `path`; always false.
bool Fail(int error, const std::string& path)
{
    std::uint32_t code = kErrorGeneralFailure;
    if (error == ENOENT) {
        code = MissingPathError(path);
    } else {
        const auto* const found = std::find_if(std::begin(kErrnoCodes), std::end(kErrnoCodes),
            [error](const ErrnoCode& entry) { return entry.error == error; });
        if (found != std::end(kErrnoCodes))
            code = found->code;
    }
    SetLastSystemError(code);
    return false;
}

// A folder that is searched but missing is a path not found however much of it is missing,
// as Windows says of "folder\*".
bool FailSearch(int error, const std::string& folder)
{
    if (error == ENOENT) {
        SetLastSystemError(kErrorPathNotFound);
        return false;
    }
    return Fail(error, folder);
}

// Closes the descriptor now and says whether the close succeeded: a failing close can be the
// first sign of a write that did not reach the disk.
bool CloseNow(FileDescriptorOwner& descriptor) { return ::close(descriptor.Release()) == 0; }

bool IsDotOrDotDot(const char* name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

std::string Join(const std::string& folder, const char* name)
{
    if (!folder.empty() && folder.back() == '/')
        return folder + name;
    return folder + '/' + name;
}

// The names in a folder, without "." and "..".
bool ReadNames(const std::string& folder, std::vector<std::string>& names)
{
    const FolderStreamOwner stream(::opendir(folder.c_str()));
    if (!stream)
        return FailSearch(errno, folder);
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(stream.Get());
        if (entry == nullptr)
            break;
        if (!IsDotOrDotDot(entry->d_name))
            names.emplace_back(entry->d_name);
    }
    if (errno != 0)
        return Fail(errno, folder);
    return true;
}

bool RemoveTree(const std::string& folder)
{
    std::vector<std::string> names;
    if (!ReadNames(folder, names))
        return false;
    for (const std::string& name : names) {
        const std::string path = Join(folder, name.c_str());
        struct stat info { };
        if (::lstat(path.c_str(), &info) != 0)
            return Fail(errno, path);
        // lstat: a link to a folder is removed as a link; what it points to stays.
        if (S_ISDIR(info.st_mode)) {
            if (!RemoveTree(path))
                return false;
        } else if (::unlink(path.c_str()) != 0) {
            return Fail(errno, path);
        }
    }
    if (::rmdir(folder.c_str()) != 0)
        return Fail(errno, folder);
    return true;
}

bool WriteAll(int descriptor, std::string_view bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(descriptor, bytes.data() + done, bytes.size() - done);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        done += static_cast<std::size_t>(written);
    }
    return true;
}

// Makes a rename in the folder durable; a folder that cannot be synchronised is no failure
// of the rename itself.
void SyncFolder(const std::string& folder)
{
    FileDescriptorOwner descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor)
        ::fsync(descriptor.Get());
}

std::string TemporaryNameBeside(const std::string& file)
{
    static std::atomic<unsigned> counter{0};
    return file + ".tmp" + std::to_string(::getpid()) + "-" + std::to_string(counter++);
}

} // namespace

std::wstring SystemPath(std::wstring_view path) { return std::wstring(path); }

bool PathExists(const std::wstring& path)
{
    const std::string file = ToUtf8(path);
    struct stat info { };
    if (::stat(file.c_str(), &info) != 0)
        return Fail(errno, file);
    return true;
}

bool ListFolder(const std::wstring& folder, std::vector<FolderEntry>& entries)
{
    const std::string path = ToUtf8(folder);
    std::vector<std::string> names;
    if (!ReadNames(path, names))
        return false;
    for (const std::string& name : names)
        entries.push_back({FromUtf8(name), IsFolder(Join(path, name.c_str()))});
    return true;
}

bool CreateFolders(const std::wstring& folder)
{
    const std::string path = ToUtf8(folder);
    if (IsFolder(path))
        return true;
    const std::string parent = ParentOf(path);
    if (parent != path && parent != "." && !CreateFolders(FromUtf8(parent)))
        return false;
    if (::mkdir(path.c_str(), 0777) != 0 && !(errno == EEXIST && IsFolder(path)))
        return Fail(errno, path);
    return true;
}

bool RemoveFolder(const std::wstring& folder) { return RemoveTree(ToUtf8(folder)); }

bool ReadFileBytes(const std::wstring& path, std::string& bytes)
{
    const std::string file = ToUtf8(path);
    FileDescriptorOwner descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (!descriptor)
        return Fail(errno, file);
    struct stat info { };
    if (::fstat(descriptor.Get(), &info) != 0)
        return Fail(errno, file);
    if (S_ISDIR(info.st_mode))
        return Fail(EISDIR, file);
    bytes.clear();
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(descriptor.Get(), buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return Fail(errno, file);
        }
        if (got == 0)
            return true;
        bytes.append(buffer, static_cast<size_t>(got));
    }
}

bool ReplaceFileBytes(const std::wstring& path, std::string_view bytes)
{
    const std::string file = ToUtf8(path);
    const std::string temporary = TemporaryNameBeside(file);
    // A file already there keeps its permissions; a new one is private to the user.
    struct stat existing { };
    const mode_t mode = ::stat(file.c_str(), &existing) == 0 ? (existing.st_mode & 07777) : 0600;
    FileDescriptorOwner descriptor(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
    if (!descriptor)
        return Fail(errno, temporary);
    if (!WriteAll(descriptor.Get(), bytes) || ::fsync(descriptor.Get()) != 0 || !CloseNow(descriptor) ||
        ::rename(temporary.c_str(), file.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        return Fail(error, file);
    }
    SyncFolder(ParentOf(file));
    return true;
}

std::wstring HomeFolder()
{
    const char* home = std::getenv("HOME");
    if (home != nullptr && *home != '\0')
        return FromUtf8(home);
    passwd entry{};
    passwd* user = nullptr;
    std::vector<char> buffer(16384);
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &user) != 0 || user == nullptr)
        return {};
    return FromUtf8(user->pw_dir);
}

} // namespace kw
