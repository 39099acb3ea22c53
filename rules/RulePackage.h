#pragma once
// One package as the rules see it: its rows, read once and kept, sorted once per order, and
// its codes. The package under test is shared by every pair of a run, so each cache is
// filled by one loader at a time and only read afterwards.
#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "msicomp/MsiHandle.h"
#include "msicomp/MsiTableView.h"
#include "msicomp/PackageTables.h"
#include "rules/ConflictFinding.h"

namespace kw {

// The rows that rules read, each from one query of the package.
enum class RowSet : int {
    Components, // Component, with the FullPathDir of its Directory_
    Files, // File with its component, FileName as the long name, FullPathDir
    Registry, // Registry with its component, and RootKey: the root's name, "\", Key
    Shortcuts, // Shortcut with its component, Name as the long name, FullPathDir
    IniFiles, // IniFile with its component, FileName as the long name, FullPathDir of DirProperty
    DataSources, // ODBCDataSource with its component
    Drivers, // ODBCDriver with its component
    Services, // ServiceInstall with its component
    Verbs, // Extension with its verbs and component
    ModuleSignatures,
    ModuleComponents,
    Count
};

// Computed columns, read like stored ones.
inline constexpr const wchar_t* kFullPathDirColumn = L"FullPathDir";
inline constexpr const wchar_t* kRootKeyColumn = L"RootKey";

// A strict weak order on rows: by these columns, most significant first, each compared as
// text with the ordinal comparison.
inline constexpr size_t kMaxOrderKeys = 5;
struct RowOrder {
    const wchar_t* name;
    std::array<const wchar_t*, kMaxOrderKeys> keys; // unused keys are null
};

// A row with pointers to its key values under one order.
struct KeyedRow {
    const MsiRow* row;
    std::array<const std::wstring*, kMaxOrderKeys> key;
};

// Negative, zero or positive, by the key values.
int CompareKeys(const KeyedRow& a, const KeyedRow& b);
inline bool KeyLess(const KeyedRow& a, const KeyedRow& b) { return CompareKeys(a, b) < 0; }

// A row set sorted by an order; equal keys keep table order.
enum class View : int {
    ComponentsById,
    ComponentsByKeyPath,
    FilesByComponentAndName,
    FilesByFolderAndName,
    FilesByComponentFolderAndName,
    RegistryByEntry,
    RegistryByRootKey,
    ShortcutsByFolderAndName,
    IniFilesByEntry,
    IniFilesByFolderAndName,
    DataSourcesByName,
    DriversByName,
    ServicesByName,
    VerbsByExtensionAndVerb,
    ModulesById,
    Count
};

// The order a view is sorted by; views that share one can be intersected.
const RowOrder& OrderOf(View view);

// The name of a registry root as details and merge-module entries show it.
std::wstring RegistryRootName(const std::wstring& root);

struct PackageCodes {
    std::wstring packageCode; // empty when the summary cannot be read
    std::wstring productCode;
    bool hasProductCode = false;
    std::wstring upgradeCode;
    bool hasUpgradeCode = false;
};

class RulePackage {
public:
    // `path` opens the package; `displayPath` is how findings show it (the path as the run was
    // given it). Nothing is read until a rule asks.
    explicit RulePackage(const std::wstring& path);
    RulePackage(std::wstring path, std::wstring displayPath);

    const std::wstring& Path() const { return path_; }
    const std::wstring& DisplayPath() const { return displayPath_; }
    // ProductName; empty when the package cannot be opened or has none.
    const std::wstring& Name();
    // The name and the display path, as findings carry them.
    const std::shared_ptr<const PackageIdentity>& Identity();

    const std::vector<MsiRow>& Rows(RowSet set);
    const std::vector<KeyedRow>& Sorted(View view);
    const PackageCodes& Codes();

    // Fills every cache now, so that pairs running at the same time only read them.
    void LoadAll();

    RulePackage(const RulePackage&) = delete;
    RulePackage& operator=(const RulePackage&) = delete;

private:
    template <typename T> struct Slot {
        std::atomic<bool> filled{false};
        T value{};
    };
    template <typename T, typename Fill> const T& Get(Slot<T>& slot, Fill fill);

    // The database and the folders' full paths, on first use; call with the lock held.
    void Open();
    std::vector<MsiRow> Query(RowSet set);

    std::wstring path_;
    std::wstring displayPath_;
    std::recursive_mutex lock_;
    bool opened_ = false;
    MsiHandle database_;
    std::unique_ptr<PackageTables> directories_; // the full paths of its folders
    Slot<std::wstring> name_;
    Slot<std::shared_ptr<const PackageIdentity>> identity_;
    Slot<PackageCodes> codes_;
    std::array<Slot<std::vector<MsiRow>>, static_cast<size_t>(RowSet::Count)> rows_;
    std::array<Slot<std::vector<KeyedRow>>, static_cast<size_t>(View::Count)> views_;
};

} // namespace kw
