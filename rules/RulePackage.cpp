#include "rules/RulePackage.h"

#include <algorithm>

#include "msicomp/DirectoryResolution.h"
#include "msicomp/MsiDatabase.h"
#include "msicomp/MsiQuery.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

// How one row set is read: a single-table select or a join with the rows' component, then
// the columns computed from what was read.
struct RowSetQuery {
    const wchar_t* table; // single-table select, or null
    const wchar_t* const* columns;
    const MsiJoin* join; // join, or null
    const wchar_t* directoryColumn; // resolved into FullPathDir, or null
    const wchar_t* fileNameColumn; // a Filename column, kept as its long name, or null
    bool rootKey; // adds RootKey
};

constexpr MsiJoinColumn kComponentIdColumn[] = {{L"ComponentId", 0}, {nullptr, 0}};
constexpr MsiJoinCondition kByComponent(const wchar_t* table)
{
    return {table, L"Component_", L"Component", L"Component"};
}

constexpr MsiJoinColumn kFileColumns[] = {{L"File", 0}, {L"Component_", 0}, {L"FileName", 0}, {L"FileSize", 0},
    {L"Version", 0}, {L"Language", 0}, {nullptr, 0}};
constexpr MsiJoinColumn kFileComponentColumns[] = {{L"ComponentId", 0}, {L"Directory_", 0}, {nullptr, 0}};
constexpr MsiJoinTable kFileTables[] = {
    {L"File", kFileColumns}, {L"Component", kFileComponentColumns}, {nullptr, nullptr}};
constexpr MsiJoinCondition kFileConditions[] = {kByComponent(L"File"), {nullptr, nullptr, nullptr, nullptr}};
constexpr MsiJoin kFileJoin = {kFileTables, kFileConditions};

constexpr MsiJoinColumn kRegistryColumns[] = {
    {L"Registry", 0}, {L"Root", 0}, {L"Key", 0}, {L"Name", 0}, {L"Value", 0}, {L"Component_", 0}, {nullptr, 0}};
constexpr MsiJoinTable kRegistryTables[] = {
    {L"Registry", kRegistryColumns}, {L"Component", kComponentIdColumn}, {nullptr, nullptr}};
constexpr MsiJoinCondition kRegistryConditions[] = {kByComponent(L"Registry"), {nullptr, nullptr, nullptr, nullptr}};
constexpr MsiJoin kRegistryJoin = {kRegistryTables, kRegistryConditions};

constexpr MsiJoinColumn kShortcutColumns[] = {
    {L"Shortcut", 0}, {L"Directory_", 0}, {L"Name", 0}, {L"Component_", 0}, {nullptr, 0}};
constexpr MsiJoinTable kShortcutTables[] = {
    {L"Shortcut", kShortcutColumns}, {L"Component", kComponentIdColumn}, {nullptr, nullptr}};
constexpr MsiJoinCondition kShortcutConditions[] = {kByComponent(L"Shortcut"), {nullptr, nullptr, nullptr, nullptr}};
constexpr MsiJoin kShortcutJoin = {kShortcutTables, kShortcutConditions};

constexpr MsiJoinColumn kIniFileColumns[] = {{L"IniFile", 0}, {L"FileName", 0}, {L"DirProperty", 0}, {L"Section", 0},
    {L"Key", 0}, {L"Value", 0}, {L"Component_", 0}, {nullptr, 0}};
constexpr MsiJoinTable kIniFileTables[] = {
    {L"IniFile", kIniFileColumns}, {L"Component", kComponentIdColumn}, {nullptr, nullptr}};
constexpr MsiJoinCondition kIniFileConditions[] = {kByComponent(L"IniFile"), {nullptr, nullptr, nullptr, nullptr}};
constexpr MsiJoin kIniFileJoin = {kIniFileTables, kIniFileConditions};

constexpr MsiJoinColumn kDataSourceColumns[] = {{L"DataSource", 0}, {L"Component_", 0}, {nullptr, 0}};
constexpr MsiJoinTable kDataSourceTables[] = {
    {L"ODBCDataSource", kDataSourceColumns}, {L"Component", kComponentIdColumn}, {nullptr, nullptr}};
constexpr MsiJoinCondition kDataSourceConditions[] = {
    kByComponent(L"ODBCDataSource"), {nullptr, nullptr, nullptr, nullptr}};
constexpr MsiJoin kDataSourceJoin = {kDataSourceTables, kDataSourceConditions};

constexpr MsiJoinColumn kDriverColumns[] = {{L"Driver", 0}, {L"Component_", 0}, {nullptr, 0}};
constexpr MsiJoinTable kDriverTables[] = {
    {L"ODBCDriver", kDriverColumns}, {L"Component", kComponentIdColumn}, {nullptr, nullptr}};
constexpr MsiJoinCondition kDriverConditions[] = {kByComponent(L"ODBCDriver"), {nullptr, nullptr, nullptr, nullptr}};
constexpr MsiJoin kDriverJoin = {kDriverTables, kDriverConditions};

constexpr MsiJoinColumn kServiceColumns[] = {{L"ServiceInstall", 0}, {L"Name", 0}, {L"Component_", 0}, {nullptr, 0}};
constexpr MsiJoinTable kServiceTables[] = {
    {L"ServiceInstall", kServiceColumns}, {L"Component", kComponentIdColumn}, {nullptr, nullptr}};
constexpr MsiJoinCondition kServiceConditions[] = {
    kByComponent(L"ServiceInstall"), {nullptr, nullptr, nullptr, nullptr}};
constexpr MsiJoin kServiceJoin = {kServiceTables, kServiceConditions};

constexpr MsiJoinColumn kExtensionColumns[] = {{L"Extension", 0}, {L"Component_", 0}, {nullptr, 0}};
constexpr MsiJoinColumn kVerbColumns[] = {{L"Verb", 0}, {nullptr, 0}};
constexpr MsiJoinTable kVerbTables[] = {
    {L"Extension", kExtensionColumns}, {L"Verb", kVerbColumns}, {L"Component", kComponentIdColumn}, {nullptr, nullptr}};
constexpr MsiJoinCondition kVerbConditions[] = {{L"Extension", L"Extension", L"Verb", L"Extension_"},
    kByComponent(L"Extension"), {nullptr, nullptr, nullptr, nullptr}};
constexpr MsiJoin kVerbJoin = {kVerbTables, kVerbConditions};

constexpr const wchar_t* kComponentColumns[] = {L"Component", L"ComponentId", L"Directory_", L"KeyPath", nullptr};
constexpr const wchar_t* kModuleSignatureColumns[] = {L"ModuleID", L"Language", L"Version", nullptr};
constexpr const wchar_t* kModuleComponentsColumns[] = {L"Component", L"ModuleID", L"Language", nullptr};

// By RowSet.
constexpr RowSetQuery kRowSets[] = {
    {L"Component", kComponentColumns, nullptr, L"Directory_", nullptr, false},
    {nullptr, nullptr, &kFileJoin, L"Directory_", L"FileName", false},
    {nullptr, nullptr, &kRegistryJoin, nullptr, nullptr, true},
    {nullptr, nullptr, &kShortcutJoin, L"Directory_", L"Name", false},
    {nullptr, nullptr, &kIniFileJoin, L"DirProperty", L"FileName", false},
    {nullptr, nullptr, &kDataSourceJoin, nullptr, nullptr, false},
    {nullptr, nullptr, &kDriverJoin, nullptr, nullptr, false},
    {nullptr, nullptr, &kServiceJoin, nullptr, nullptr, false},
    {nullptr, nullptr, &kVerbJoin, nullptr, nullptr, false},
    {L"ModuleSignature", kModuleSignatureColumns, nullptr, nullptr, nullptr, false},
    {L"ModuleComponents", kModuleComponentsColumns, nullptr, nullptr, nullptr, false},
};
static_assert(std::size(kRowSets) == static_cast<size_t>(RowSet::Count));

constexpr RowOrder kByComponentId = {L"by component", {L"ComponentId"}};
constexpr RowOrder kByComponentAndName = {L"by component and file name", {L"ComponentId", L"FileName"}};
constexpr RowOrder kByFile = {L"by file", {kFullPathDirColumn, L"FileName"}};
constexpr RowOrder kByComponentFile = {L"by component file", {L"ComponentId", kFullPathDirColumn, L"FileName"}};
constexpr RowOrder kByRegistryEntry = {L"by registry entry", {L"Root", L"Key", L"Name"}};
constexpr RowOrder kByRootKey = {L"by registry path", {kRootKeyColumn, L"Name"}};
constexpr RowOrder kByShortcut = {L"by shortcut", {kFullPathDirColumn, L"Name"}};
constexpr RowOrder kByIniEntry = {L"by INI entry", {kFullPathDirColumn, L"FileName", L"Section", L"Key", L"Value"}};
constexpr RowOrder kByDataSource = {L"by data source", {L"DataSource"}};
constexpr RowOrder kByDriver = {L"by driver", {L"Driver"}};
constexpr RowOrder kByService = {L"by service", {L"Name"}};
constexpr RowOrder kByVerb = {L"by verb", {L"Extension", L"Verb"}};
constexpr RowOrder kByModule = {L"by merge module", {L"ModuleID"}};
constexpr RowOrder kByKeyPath = {L"by key path", {kFullPathDirColumn, L"KeyPath"}};

struct ViewDefinition {
    RowSet set;
    const RowOrder* order;
};

// By View.
constexpr ViewDefinition kViews[] = {
    {RowSet::Components, &kByComponentId},
    {RowSet::Components, &kByKeyPath},
    {RowSet::Files, &kByComponentAndName},
    {RowSet::Files, &kByFile},
    {RowSet::Files, &kByComponentFile},
    {RowSet::Registry, &kByRegistryEntry},
    {RowSet::Registry, &kByRootKey},
    {RowSet::Shortcuts, &kByShortcut},
    {RowSet::IniFiles, &kByIniEntry},
    {RowSet::IniFiles, &kByFile},
    {RowSet::DataSources, &kByDataSource},
    {RowSet::Drivers, &kByDriver},
    {RowSet::Services, &kByService},
    {RowSet::Verbs, &kByVerb},
    {RowSet::ModuleSignatures, &kByModule},
};
static_assert(std::size(kViews) == static_cast<size_t>(View::Count));

// The root names of details; any other root shows its own number.
struct RootName {
    const wchar_t* root;
    const wchar_t* name;
};
constexpr RootName kRootNames[] = {
    {L"-1", L"HKMU"},
    {L"0", L"HKEY_CLASSES_ROOT"},
    {L"1", L"HKEY_CURRENT_USER"},
    {L"2", L"HKEY_LOCAL_MACHINE"},
    {L"3", L"HKEY_USERS"},
};

} // namespace

int CompareKeys(const KeyedRow& a, const KeyedRow& b)
{
    for (size_t i = 0; i < kMaxOrderKeys && a.key[i] != nullptr; ++i) {
        if (const int c = CompareOrdinal(*a.key[i], *b.key[i]); c != 0)
            return c;
    }
    return 0;
}

const RowOrder& OrderOf(View view) { return *kViews[static_cast<size_t>(view)].order; }

std::wstring RegistryRootName(const std::wstring& root)
{
    for (const RootName& entry : kRootNames) {
        if (root == entry.root)
            return entry.name;
    }
    return root;
}

RulePackage::RulePackage(const std::wstring& path) : RulePackage(path, path) { }

RulePackage::RulePackage(std::wstring path, std::wstring displayPath)
    : path_(std::move(path)), displayPath_(std::move(displayPath))
{
}

template <typename T, typename Fill> const T& RulePackage::Get(Slot<T>& slot, Fill fill)
{
    if (!slot.filled.load(std::memory_order_acquire)) {
        const std::lock_guard guard(lock_);
        if (!slot.filled.load(std::memory_order_relaxed)) {
            slot.value = fill();
            slot.filled.store(true, std::memory_order_release);
        }
    }
    return slot.value;
}

void RulePackage::Open()
{
    if (opened_)
        return;
    opened_ = true;
    // A package that cannot be opened has no rows, no name and no codes: nothing to find.
    if (OpenPackage(path_, database_) != 0)
        database_.Reset();
    directories_ = std::make_unique<PackageTables>(database_.Get(), kLoadDirectories, false);
}

const std::wstring& RulePackage::Name()
{
    return Get(name_, [this] {
        Open();
        std::wstring name;
        GetPropertyValue(database_.Get(), L"ProductName", name);
        return name;
    });
}

const std::shared_ptr<const PackageIdentity>& RulePackage::Identity()
{
    return Get(identity_, [this] {
        return std::make_shared<const PackageIdentity>(PackageIdentity{Name(), displayPath_});
    });
}

const PackageCodes& RulePackage::Codes()
{
    return Get(codes_, [this] {
        Open();
        PackageCodes codes;
        if (database_) {
            codes.packageCode = GetPackageCode(database_.Get());
            codes.hasProductCode = GetPropertyValue(database_.Get(), L"ProductCode", codes.productCode);
            codes.hasUpgradeCode = GetPropertyValue(database_.Get(), L"UpgradeCode", codes.upgradeCode);
        }
        return codes;
    });
}

const std::vector<MsiRow>& RulePackage::Rows(RowSet set)
{
    return Get(rows_[static_cast<size_t>(set)], [this, set] { return Query(set); });
}

std::vector<MsiRow> RulePackage::Query(RowSet set)
{
    Open();
    if (!database_)
        return {};
    const RowSetQuery& query = kRowSets[static_cast<size_t>(set)];
    MsiTableView view(database_.Get());
    if (query.join != nullptr)
        view.LoadJoin(*query.join);
    else
        view.LoadTable(query.table, query.columns);
    std::vector<MsiRow> rows = std::move(view.Rows());
    for (MsiRow& row : rows) {
        if (query.directoryColumn != nullptr)
            row[kFullPathDirColumn] = directories_->FullPathOf(ColumnValue(row, query.directoryColumn));
        if (query.fileNameColumn != nullptr) {
            std::wstring& name = row[query.fileNameColumn];
            name = SplitShortLong(name).longName;
        }
        if (query.rootKey)
            row[kRootKeyColumn] = RegistryRootName(ColumnValue(row, L"Root")) + L"\\" + ColumnValue(row, L"Key");
    }
    return rows;
}

const std::vector<KeyedRow>& RulePackage::Sorted(View view)
{
    return Get(views_[static_cast<size_t>(view)], [this, view] {
        const ViewDefinition& definition = kViews[static_cast<size_t>(view)];
        const std::vector<MsiRow>& rows = Rows(definition.set);
        std::vector<std::wstring> columns;
        for (const wchar_t* key : definition.order->keys) {
            if (key != nullptr)
                columns.emplace_back(key);
        }
        std::vector<KeyedRow> sorted;
        sorted.reserve(rows.size());
        for (const MsiRow& row : rows) {
            KeyedRow keyed{&row, {}};
            for (size_t i = 0; i < columns.size(); ++i)
                keyed.key[i] = &ColumnValue(row, columns[i]);
            sorted.push_back(keyed);
        }
        // Stable: rows of equal keys keep table order, so findings are the same on every run.
        std::stable_sort(sorted.begin(), sorted.end(), KeyLess);
        return sorted;
    });
}

void RulePackage::LoadAll()
{
    Identity();
    Codes();
    for (int view = 0; view < static_cast<int>(View::Count); ++view)
        Sorted(static_cast<View>(view));
    for (int set = 0; set < static_cast<int>(RowSet::Count); ++set)
        Rows(static_cast<RowSet>(set));
}

} // namespace kw
