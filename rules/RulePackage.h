#pragma once
// One package as the rules see it: its rows, read once and kept in compact tables, sorted once
// per order, and its codes. The package under test is shared by every pair of a run, so each
// cache is filled by one loader at a time and only read afterwards.
#include <array>
#include <atomic>
#include <cassert>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "msicomp/MsiHandle.h"
#include "msicomp/PackageTables.h"
#include "rules/ConflictFinding.h"
#include "util/strings/TextArena.h"

namespace kw {

// The rows that rules read, each set from one table, joined with the rows' components.
enum class RowSet : std::uint8_t {
    Components,
    Files,
    Registry,
    Shortcuts,
    IniFiles,
    DataSources, // ODBCDataSource
    Drivers, // ODBCDriver
    Services, // ServiceInstall
    Verbs, // Extension with its verbs
    ModuleSignatures,
    ModuleComponents,
    Count
};

// The values rules read of a row. Each row set has some of them, in an order of its own.
enum class Column : std::uint8_t {
    None, // no column: ends a list, fills an unused entry
    Component, // the component's key: a component's own, or the Component_ a row belongs to
    ComponentId, // of the row's component
    FullPathDir, // the full path of the row's folder
    KeyPath,
    FileName, // the long name
    FileSize,
    Version,
    Language,
    Root,
    Key,
    Name, // a shortcut's long name, else as stored
    Value,
    RootKey, // the root's name, "\", Key
    Section,
    DataSource,
    Driver,
    Extension,
    Verb,
    ModuleId,
    Count
};

inline constexpr size_t kMaxColumns = 7;
using ColumnList = std::array<Column, kMaxColumns>;

// By RowSet: the columns its rows hold, in their order.
inline constexpr ColumnList kRowSetColumns[] = {
    {Column::Component, Column::ComponentId, Column::KeyPath, Column::FullPathDir},
    {Column::Component, Column::FileName, Column::FileSize, Column::Version, Column::Language, Column::ComponentId,
        Column::FullPathDir},
    {Column::Root, Column::Key, Column::Name, Column::Value, Column::Component, Column::ComponentId, Column::RootKey},
    {Column::Name, Column::Component, Column::ComponentId, Column::FullPathDir},
    {Column::FileName, Column::Section, Column::Key, Column::Value, Column::Component, Column::ComponentId,
        Column::FullPathDir},
    {Column::DataSource, Column::Component, Column::ComponentId},
    {Column::Driver, Column::Component, Column::ComponentId},
    {Column::Name, Column::Component, Column::ComponentId},
    {Column::Extension, Column::Component, Column::Verb, Column::ComponentId},
    {Column::ModuleId, Column::Version},
    {Column::Component, Column::ModuleId},
};
static_assert(std::size(kRowSetColumns) == static_cast<size_t>(RowSet::Count));

// By RowSet: how many columns its rows hold.
inline constexpr auto kWidths = [] {
    std::array<std::uint8_t, static_cast<size_t>(RowSet::Count)> widths{};
    for (size_t set = 0; set < widths.size(); ++set) {
        while (widths[set] < kMaxColumns && kRowSetColumns[set][widths[set]] != Column::None)
            ++widths[set];
    }
    return widths;
}();

constexpr size_t Width(RowSet set) { return kWidths[static_cast<size_t>(set)]; }

// By RowSet and Column: the index of the column in the set's rows, or the set's width when
// the set has no such column. Worked out once, when the program is compiled.
inline constexpr auto kPositions = [] {
    constexpr auto kSets = static_cast<size_t>(RowSet::Count);
    constexpr auto kColumns = static_cast<size_t>(Column::Count);
    std::array<std::array<std::uint8_t, kColumns>, kSets> positions{};
    for (size_t set = 0; set < kSets; ++set) {
        const size_t width = Width(static_cast<RowSet>(set));
        positions[set].fill(static_cast<std::uint8_t>(width));
        for (size_t i = 0; i < width; ++i)
            positions[set][static_cast<size_t>(kRowSetColumns[set][i])] = static_cast<std::uint8_t>(i);
    }
    return positions;
}();

constexpr size_t Position(RowSet set, Column column)
{
    return kPositions[static_cast<size_t>(set)][static_cast<size_t>(column)];
}

constexpr bool Has(RowSet set, Column column) { return column != Column::None && Position(set, column) < Width(set); }

// One row of a row set: a view of its values, valid as long as its table.
class Row {
public:
    Row() = default;
    Row(RowSet set, const std::wstring_view* values) : values_(values), set_(set) { }

    RowSet Set() const { return set_; }
    // Whether this row comes before the other of its table.
    bool Precedes(const Row& other) const { return values_ < other.values_; }
    // The row's value of a column its set has.
    const std::wstring_view& operator[](Column column) const
    {
        assert(Has(set_, column));
        return values_[Position(set_, column)];
    }

private:
    const std::wstring_view* values_ = nullptr;
    RowSet set_ = RowSet::Components;
};

// The rows of one set, in the installer's order, their values one after the other. Values are
// views of text that the table keeps (the cells of the tables it was read from, and what was
// derived from them) or that its package keeps (components, folder paths).
class RowTable {
public:
    explicit RowTable(RowSet set = RowSet::Components) : set_(set) { }

    RowSet Set() const { return set_; }
    size_t Size() const { return values_.size() / Width(set_); }
    Row operator[](size_t row) const { return Row(set_, values_.data() + row * Width(set_)); }

    // A new row, its values empty, to be filled by column.
    std::span<std::wstring_view> Add()
    {
        values_.resize(values_.size() + Width(set_));
        return {values_.data() + values_.size() - Width(set_), Width(set_)};
    }
    void Reserve(size_t rows) { values_.reserve(rows * Width(set_)); }

    // Keeps text that values view.
    void Keep(TextArena text) { texts_.push_back(std::move(text)); }
    // A copy of derived text, kept by the table.
    std::wstring_view Keep(std::wstring_view text) { return derived_.Keep(text); }

private:
    RowSet set_;
    std::vector<std::wstring_view> values_;
    std::vector<TextArena> texts_;
    TextArena derived_;
};

// A strict weak order on rows: by these columns, most significant first, each compared as
// text with the ordinal comparison.
inline constexpr size_t kMaxOrderKeys = 5;
struct RowOrder {
    const wchar_t* name;
    std::array<Column, kMaxOrderKeys> keys; // unused keys are None
};

// A row with pointers to its key values under one order.
struct KeyedRow {
    Row row;
    std::array<const std::wstring_view*, kMaxOrderKeys> key;
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

// By View: the set it sorts.
inline constexpr RowSet kViewSets[] = {
    RowSet::Components,
    RowSet::Components,
    RowSet::Files,
    RowSet::Files,
    RowSet::Files,
    RowSet::Registry,
    RowSet::Registry,
    RowSet::Shortcuts,
    RowSet::IniFiles,
    RowSet::IniFiles,
    RowSet::DataSources,
    RowSet::Drivers,
    RowSet::Services,
    RowSet::Verbs,
    RowSet::ModuleSignatures,
};
static_assert(std::size(kViewSets) == static_cast<size_t>(View::Count));

constexpr RowSet SetOf(View view) { return kViewSets[static_cast<size_t>(view)]; }

// The order a view sorts by; views that share an order can be intersected.
const RowOrder& OrderOf(View view);

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

    const RowTable& Rows(RowSet set);
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
    void ReadProperties();
    RowTable Read(RowSet set);

    std::wstring path_;
    std::wstring displayPath_;
    std::recursive_mutex lock_;
    bool opened_ = false;
    MsiHandle database_;
    std::unique_ptr<PackageTables> directories_; // the full paths of its folders
    std::unique_ptr<ComponentTable> components_; // read with the first row set
    std::wstring productName_; // read on opening, with the codes' properties
    PackageCodes properties_;
    Slot<std::wstring> name_;
    Slot<std::shared_ptr<const PackageIdentity>> identity_;
    Slot<PackageCodes> codes_;
    std::array<Slot<RowTable>, static_cast<size_t>(RowSet::Count)> rows_;
    std::array<Slot<std::vector<KeyedRow>>, static_cast<size_t>(View::Count)> views_;
};

} // namespace kw
