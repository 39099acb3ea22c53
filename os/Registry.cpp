#include "os/Registry.h"

#include "util/strings/StringSystem.h"

namespace kw {

namespace {

struct RootName {
    std::wstring_view shortName;
    std::wstring_view longName;
    RegistryRoot root;
};

constexpr RootName kRootNames[] = {
    {L"HKLM", L"HKEY_LOCAL_MACHINE", RegistryRoot::LocalMachine},
    {L"HKCU", L"HKEY_CURRENT_USER", RegistryRoot::CurrentUser},
    {L"HKCR", L"HKEY_CLASSES_ROOT", RegistryRoot::ClassesRoot},
    {L"HKCC", L"HKEY_CURRENT_CONFIG", RegistryRoot::CurrentConfig},
    {L"HKU", L"HKEY_USERS", RegistryRoot::Users},
};

} // namespace

RegistryRoot ParseRegistryRoot(std::wstring_view path)
{
    const size_t backslash = path.find(L'\\');
    if (backslash == std::wstring_view::npos)
        return RegistryRoot::None;
    const std::wstring_view name = path.substr(0, backslash);
    // Ignoring case, as the registry itself does: with the fallback below, "hklm\..." would
    // otherwise land in HKEY_USERS without a word.
    for (const RootName& entry : kRootNames) {
        if (EqualsIgnoreCase(name, entry.shortName) || EqualsIgnoreCase(name, entry.longName))
            return entry.root;
    }
    // Deliberate: an unknown root name means HKEY_USERS, not an error; existing paths rely on it.
    return RegistryRoot::Users;
}

std::wstring_view RegistryRootName(RegistryRoot root)
{
    for (const RootName& entry : kRootNames) {
        if (entry.root == root)
            return entry.longName;
    }
    return {};
}

std::wstring_view SettingsKey::RootName() const { return RegistryRootName(RegistryRoot::CurrentUser); }

} // namespace kw
