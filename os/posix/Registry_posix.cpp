// The settings key on POSIX: one section of the INI file
// $XDG_CONFIG_HOME/Orvanta/Kitewright/Settings.ini per subkey path. Every read takes the file
// as it is on the disk, as the registry is live; every change rewrites it whole through
// ReplaceFileBytes, so that a crash leaves the old file or the new one. The threads of this
// process change it one at a time; other processes are not held off (the last rewrite wins).
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <vector>

#include "os/FileSystem.h"
#include "os/IniFile.h"
#include "os/Registry.h"
#include "os/SystemError.h"
#include "os/posix/HomeFolder_posix.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

constexpr std::uint32_t kErrorFileNotFound = 2;
constexpr std::uint32_t kErrorPathNotFound = 3;
constexpr std::uint32_t kErrorAccessDenied = 5;
constexpr std::uint32_t kErrorInvalidHandle = 6;

// Written at the top of a new file, for whoever opens it.
constexpr std::string_view kNewFileText =
    "; Kitewright settings, kept by the program. In names and values \"%\" and two\n"
    "; hexadecimal digits stand for one byte of UTF-8: %25 \"%\", %3D \"=\", %0A a line break.\n";

std::mutex g_fileMutex;

std::wstring ConfigFolder()
{
    // As the XDG base-directory rules say: an unset, empty or relative value is ignored.
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config != nullptr && config[0] == '/')
        return FromUtf8(config);
    return HomeFolder() + L"/.config";
}

std::wstring SettingsFolder() { return ConfigFolder() + L"/Orvanta/Kitewright"; }

std::wstring SettingsFile() { return SettingsFolder() + L"/Settings.ini"; }

// The file as it is now; a file that does not exist yet is an empty one.
bool Load(IniFile& ini)
{
    std::string text;
    if (!ReadFileBytes(SettingsFile(), text)) {
        const std::uint32_t error = LastSystemError();
        if (error != kErrorFileNotFound && error != kErrorPathNotFound)
            return false;
        text = kNewFileText;
    }
    ini = IniFile(text);
    return true;
}

bool Save(const IniFile& ini)
{
    return CreateFolders(SettingsFolder()) && ReplaceFileBytes(SettingsFile(), ini.Text());
}

bool Fail(std::uint32_t error)
{
    SetLastSystemError(error);
    return false;
}

// A value may change only through a key that is open, and open for writing.
bool CanChange(bool open, bool writable)
{
    if (!open)
        return Fail(kErrorInvalidHandle);
    return writable || Fail(kErrorAccessDenied);
}

// One change of the file, under the lock: the file as it is now, changed, written back whole.
// A change that fails leaves the file as it was.
template <typename Change> bool ChangeFile(Change change)
{
    const std::lock_guard lock(g_fileMutex);
    IniFile ini;
    return Load(ini) && change(ini) && Save(ini);
}

} // namespace

struct SettingsKey::Store {
    bool write = false;
};

SettingsKey::SettingsKey() = default;
SettingsKey::~SettingsKey() = default;
SettingsKey::SettingsKey(SettingsKey&&) noexcept = default;
SettingsKey& SettingsKey::operator=(SettingsKey&&) noexcept = default;

bool SettingsKey::Open(std::wstring_view subkey, bool write)
{
    store_.reset();
    if (subkey.ends_with(L'\\'))
        subkey.remove_suffix(1);
    subkey_ = subkey;
    const std::lock_guard lock(g_fileMutex);
    IniFile ini;
    if (!Load(ini))
        return false;
    if (!ini.HasSection(subkey_)) {
        if (!write)
            return Fail(kErrorFileNotFound);
        ini.AddSection(subkey_);
        if (!Save(ini))
            return false;
    }
    store_ = std::make_unique<Store>(Store{write});
    SetLastSystemError(0);
    return true;
}

bool SettingsKey::IsOpen() const { return store_ != nullptr; }

std::wstring SettingsKey::ReadString(std::wstring_view name) const
{
    if (!store_) {
        SetLastSystemError(kErrorInvalidHandle);
        return {};
    }
    const std::lock_guard lock(g_fileMutex);
    IniFile ini;
    if (!Load(ini))
        return {};
    std::optional<std::wstring> value = ini.Value(subkey_, name);
    if (!value) {
        SetLastSystemError(kErrorFileNotFound);
        return {};
    }
    SetLastSystemError(0);
    return std::move(*value);
}

bool SettingsKey::WriteString(std::wstring_view name, std::wstring_view value)
{
    return CanChange(store_ != nullptr, store_ && store_->write) && ChangeFile([&](IniFile& ini) {
        ini.SetValue(subkey_, name, value);
        return true;
    });
}

bool SettingsKey::DeleteValue(std::wstring_view name)
{
    return CanChange(store_ != nullptr, store_ && store_->write) &&
        ChangeFile([&](IniFile& ini) { return ini.RemoveValue(subkey_, name) || Fail(kErrorFileNotFound); });
}

} // namespace kw
