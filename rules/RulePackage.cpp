#include "rules/RulePackage.h"

#include <algorithm>
#include <utility>

#include "msicomp/MsiDatabase.h"
#include "msicomp/MsiQuery.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

// Where a value of a row comes from.
enum class From : std::uint8_t {
    Cell, // the table's column
    LongName, // the long name in the table's column
    Folder, // the full path of the folder the table's column names
    ComponentId, // the row's component
    ComponentFolder, // the full path of the row's component's folder
    RootKey, // the registry path of the table's Root and Key
    Expansion, // the column of the second table's row
};

struct ValueSource {
    From from = From::Cell;
    const wchar_t* name = nullptr; // a selected column of the table (or of the second table)
};

// A second table whose rows each row of the first is repeated for: the rows whose `key`
// equals the first table's `by`, in the installer's join order.
struct Expansion {
    const wchar_t* table;
    const wchar_t* const* columns;
    const wchar_t* key;
    const wchar_t* by;
};

// How one row set is read: a plain select of its table, joined in memory with the rows'
// components and perhaps with a second table. The select names the columns the set needs and
// the table's key: a table that lacks one of them is not one the rules understand, and gives
// no rows.
struct RowSetSource {
    const wchar_t* table;
    const wchar_t* const* columns;
    std::array<ValueSource, kMaxColumns> values; // by the set's columns
    const Expansion* expansion = nullptr;
};

constexpr ValueSource Cell(const wchar_t* name) { return {From::Cell, name}; }
constexpr ValueSource LongNameOf(const wchar_t* name) { return {From::LongName, name}; }
constexpr ValueSource FolderOf(const wchar_t* name) { return {From::Folder, name}; }
constexpr ValueSource SecondCell(const wchar_t* name) { return {From::Expansion, name}; }
constexpr ValueSource kComponent = Cell(L"Component_");
constexpr ValueSource kComponentId = {From::ComponentId};
constexpr ValueSource kComponentFolder = {From::ComponentFolder};
constexpr ValueSource kRootKey = {From::RootKey};

constexpr const wchar_t* kFileColumns[] = {
    L"File", L"Component_", L"FileName", L"FileSize", L"Version", L"Language", nullptr};
constexpr const wchar_t* kRegistryColumns[] = {L"Registry", L"Root", L"Key", L"Name", L"Value", L"Component_", nullptr};
constexpr const wchar_t* kShortcutColumns[] = {L"Shortcut", L"Directory_", L"Name", L"Component_", nullptr};
constexpr const wchar_t* kIniFileColumns[] = {
    L"IniFile", L"FileName", L"DirProperty", L"Section", L"Key", L"Value", L"Component_", nullptr};
constexpr const wchar_t* kDataSourceColumns[] = {L"DataSource", L"Component_", nullptr};
constexpr const wchar_t* kDriverColumns[] = {L"Driver", L"Component_", nullptr};
constexpr const wchar_t* kServiceColumns[] = {L"ServiceInstall", L"Name", L"Component_", nullptr};
constexpr const wchar_t* kExtensionColumns[] = {L"Extension", L"Component_", nullptr};
constexpr const wchar_t* kVerbColumns[] = {L"Verb", L"Extension_", nullptr};
constexpr const wchar_t* kModuleSignatureColumns[] = {L"ModuleID", L"Language", L"Version", nullptr};
constexpr const wchar_t* kModuleComponentsColumns[] = {L"Component", L"ModuleID", L"Language", nullptr};

constexpr Expansion kVerbsOfExtension = {L"Verb", kVerbColumns, L"Extension_", L"Extension"};

// By RowSet, each value in the order of the set's columns. Components come from the package's
// component table, read once for every join.
constexpr RowSetSource kRowSetSources[] = {
    {L"Component", nullptr, {}},
    {L"File", kFileColumns,
        {kComponent, LongNameOf(L"FileName"), Cell(L"FileSize"), Cell(L"Version"), Cell(L"Language"), kComponentId,
            kComponentFolder}},
    {L"Registry", kRegistryColumns,
        {Cell(L"Root"), Cell(L"Key"), Cell(L"Name"), Cell(L"Value"), kComponent, kComponentId, kRootKey}},
    {L"Shortcut", kShortcutColumns, {LongNameOf(L"Name"), kComponent, kComponentId, FolderOf(L"Directory_")}},
    {L"IniFile", kIniFileColumns,
        {LongNameOf(L"FileName"), Cell(L"Section"), Cell(L"Key"), Cell(L"Value"), kComponent, kComponentId,
            FolderOf(L"DirProperty")}},
    {L"ODBCDataSource", kDataSourceColumns, {Cell(L"DataSource"), kComponent, kComponentId}},
    {L"ODBCDriver", kDriverColumns, {Cell(L"Driver"), kComponent, kComponentId}},
    {L"ServiceInstall", kServiceColumns, {Cell(L"Name"), kComponent, kComponentId}},
    {L"Extension", kExtensionColumns, {Cell(L"Extension"), kComponent, SecondCell(L"Verb"), kComponentId},
        &kVerbsOfExtension},
    {L"ModuleSignature", kModuleSignatureColumns, {Cell(L"ModuleID"), Cell(L"Version")}},
    {L"ModuleComponents", kModuleComponentsColumns, {Cell(L"Component"), Cell(L"ModuleID")}},
};
static_assert(std::size(kRowSetSources) == static_cast<size_t>(RowSet::Count));

constexpr bool Selects(const wchar_t* const* columns, const wchar_t* name)
{
    for (; columns != nullptr && *columns != nullptr; ++columns) {
        if (std::wstring_view(*columns) == name)
            return true;
    }
    return false;
}

// Every value of every set comes from a column its select names, and the set has a value for
// each of its columns and no more.
constexpr bool SourcesReadTheirColumns()
{
    for (size_t set = 1; set < std::size(kRowSetSources); ++set) {
        const RowSetSource& source = kRowSetSources[set];
        for (size_t i = 0; i < kMaxColumns; ++i) {
            const ValueSource& value = source.values[i];
            const bool named = value.from == From::Cell || value.from == From::LongName || value.from == From::Folder ||
                value.from == From::Expansion;
            const wchar_t* const* columns = value.from == From::Expansion ? source.expansion->columns : source.columns;
            if (i >= Width(static_cast<RowSet>(set))
                    ? value.name != nullptr || value.from != From::Cell
                    : named && (value.name == nullptr || !Selects(columns, value.name)))
                return false;
        }
    }
    return true;
}
static_assert(SourcesReadTheirColumns());

constexpr bool Uses(const RowSetSource& source, From from)
{
    return std::any_of(
        source.values.begin(), source.values.end(), [from](const ValueSource& value) { return value.from == from; });
}

constexpr RowOrder kByComponentId = {L"by component", {Column::ComponentId}};
constexpr RowOrder kByComponentAndName = {L"by component and file name", {Column::ComponentId, Column::FileName}};
constexpr RowOrder kByFile = {L"by file", {Column::FullPathDir, Column::FileName}};
constexpr RowOrder kByComponentFile = {
    L"by component file", {Column::ComponentId, Column::FullPathDir, Column::FileName}};
constexpr RowOrder kByRegistryEntry = {L"by registry entry", {Column::Root, Column::Key, Column::Name}};
constexpr RowOrder kByRootKey = {L"by registry path", {Column::RootKey, Column::Name}};
constexpr RowOrder kByShortcut = {L"by shortcut", {Column::FullPathDir, Column::Name}};
constexpr RowOrder kByIniEntry = {
    L"by INI entry", {Column::FullPathDir, Column::FileName, Column::Section, Column::Key, Column::Value}};
constexpr RowOrder kByDataSource = {L"by data source", {Column::DataSource}};
constexpr RowOrder kByDriver = {L"by driver", {Column::Driver}};
constexpr RowOrder kByService = {L"by service", {Column::Name}};
constexpr RowOrder kByVerb = {L"by verb", {Column::Extension, Column::Verb}};
constexpr RowOrder kByModule = {L"by merge module", {Column::ModuleId}};
constexpr RowOrder kByKeyPath = {L"by key path", {Column::FullPathDir, Column::KeyPath}};

// By View.
constexpr const RowOrder* kOrders[] = {
    &kByComponentId,
    &kByKeyPath,
    &kByComponentAndName,
    &kByFile,
    &kByComponentFile,
    &kByRegistryEntry,
    &kByRootKey,
    &kByShortcut,
    &kByIniEntry,
    &kByFile,
    &kByDataSource,
    &kByDriver,
    &kByService,
    &kByVerb,
    &kByModule,
};
static_assert(std::size(kOrders) == static_cast<size_t>(View::Count));

// Every key of every view is a column of the view's set.
constexpr bool KeysAreColumns()
{
    for (size_t view = 0; view < std::size(kOrders); ++view) {
        for (const Column key : kOrders[view]->keys) {
            if (key != Column::None && !Has(kViewSets[view], key))
                return false;
        }
    }
    return true;
}
static_assert(KeysAreColumns());

// The components as the rules read them, each with its folder's full path.
void AddComponents(const ComponentTable& components, const PackageTables& directories, RowTable& rows)
{
    // The installer's query of the component rows names four columns: without one, no rows.
    if (!components.Complete())
        return;
    rows.Reserve(components.Size());
    for (size_t component = 0; component < components.Size(); ++component) {
        const std::span<std::wstring_view> values = rows.Add();
        values[Position(RowSet::Components, Column::Component)] = components.Key(component);
        values[Position(RowSet::Components, Column::ComponentId)] = components.Id(component);
        values[Position(RowSet::Components, Column::KeyPath)] = components.KeyPath(component);
        values[Position(RowSet::Components, Column::FullPathDir)] =
            directories.FullPathOf(components.Folder(component));
    }
}

// The rows of the set's table, in table order or, joined with their components (and with the
// rows of a second table), in the installer's order of that join.
void AddRows(MSIHANDLE database, const RowSetSource& source, const ComponentTable& components,
    const PackageTables& directories, RowTable& rows)
{
    const bool joined = Uses(source, From::ComponentId);
    MsiTableView table(database);
    if (!table.LoadTable(source.table, source.columns) ||
        (joined && !components.Joins(Uses(source, From::ComponentFolder))))
        return;
    MsiTableView second(database);
    if (source.expansion != nullptr && !second.LoadTable(source.expansion->table, source.expansion->columns))
        return;
    // Each value's column, found once for the whole table.
    const size_t width = Width(rows.Set());
    std::array<size_t, kMaxColumns> cells{};
    for (size_t i = 0; i < width; ++i) {
        const ValueSource& value = source.values[i];
        const MsiTableView& from = value.from == From::Expansion ? second : table;
        cells[i] = value.name != nullptr ? from.ColumnIndex(value.name) : MsiTableView::kNoColumn;
    }
    const size_t root = table.ColumnIndex(L"Root");
    const size_t key = table.ColumnIndex(L"Key");

    const auto add = [&](const JoinedRow& match) {
        const std::span<std::wstring_view> values = rows.Add();
        for (size_t i = 0; i < width; ++i) {
            const std::wstring_view cell = cells[i] == MsiTableView::kNoColumn ? std::wstring_view()
                : source.values[i].from == From::Expansion                     ? second.Value(match.second, cells[i])
                                                                               : table.Value(match.row, cells[i]);
            switch (source.values[i].from) {
            case From::Cell:
            case From::Expansion: values[i] = cell; break;
            case From::LongName: values[i] = LongName(cell); break;
            case From::Folder: values[i] = directories.FullPathOf(cell); break;
            case From::ComponentId: values[i] = components.Id(match.component); break;
            case From::ComponentFolder: values[i] = directories.FullPathOf(components.Folder(match.component)); break;
            case From::RootKey:
                values[i] = rows.Keep(RegistryPath(table.Value(match.row, root), table.Value(match.row, key)));
                break;
            }
        }
    };
    if (!joined) {
        rows.Reserve(table.RowCount());
        for (size_t row = 0; row < table.RowCount(); ++row)
            add({0, 0, row});
        rows.Keep(table.TakeText());
        return;
    }
    const size_t component = table.ColumnIndex(L"Component_");
    const std::vector<JoinedRow> matches = source.expansion == nullptr
        ? components.Join(table, component)
        : components.Join(table, component, second, second.ColumnIndex(source.expansion->key),
              table.ColumnIndex(source.expansion->by));
    rows.Reserve(matches.size());
    for (const JoinedRow& match : matches)
        add(match);
    rows.Keep(table.TakeText());
    rows.Keep(second.TakeText());
}

} // namespace

int CompareKeys(const KeyedRow& a, const KeyedRow& b)
{
    for (size_t i = 0; i < kMaxOrderKeys && a.key[i] != nullptr; ++i) {
        if (const int c = CompareOrdinal(*a.key[i], *b.key[i]); c != 0)
            return c;
    }
    return 0;
}

const RowOrder& OrderOf(View view) { return *kOrders[static_cast<size_t>(view)]; }

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
    ReadProperties();
}

void RulePackage::ReadProperties()
{
    // One read of the table instead of a lookup by name for each: the first row of a name is
    // the one a lookup finds.
    constexpr const wchar_t* kColumns[] = {L"Property", L"Value", nullptr};
    MsiTableView table(database_.Get());
    table.LoadTable(L"Property", kColumns);
    bool hasName = false;
    for (size_t row = 0; row < table.RowCount(); ++row) {
        const std::wstring_view property = table.Value(row, 0);
        const std::wstring_view value = table.Value(row, 1);
        if (property == L"ProductName" && !std::exchange(hasName, true))
            productName_ = value;
        else if (property == L"ProductCode" && !std::exchange(properties_.hasProductCode, true))
            properties_.productCode = value;
        else if (property == L"UpgradeCode" && !std::exchange(properties_.hasUpgradeCode, true))
            properties_.upgradeCode = value;
    }
}

const std::wstring& RulePackage::Name()
{
    return Get(name_, [this] {
        Open();
        return productName_;
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
        PackageCodes codes = properties_;
        if (database_)
            codes.packageCode = GetPackageCode(database_.Get());
        return codes;
    });
}

const RowTable& RulePackage::Rows(RowSet set)
{
    return Get(rows_[static_cast<size_t>(set)], [this, set] { return Read(set); });
}

RowTable RulePackage::Read(RowSet set)
{
    Open();
    RowTable rows(set);
    if (!database_)
        return rows;
    // Read with the first row set: a package's name and codes do not need it.
    if (!components_)
        components_ = std::make_unique<ComponentTable>(database_.Get());
    if (set == RowSet::Components)
        AddComponents(*components_, *directories_, rows);
    else
        AddRows(database_.Get(), kRowSetSources[static_cast<size_t>(set)], *components_, *directories_, rows);
    return rows;
}

const std::vector<KeyedRow>& RulePackage::Sorted(View view)
{
    return Get(views_[static_cast<size_t>(view)], [this, view] {
        const RowOrder& order = OrderOf(view);
        const RowTable& rows = Rows(SetOf(view));
        std::vector<KeyedRow> sorted;
        sorted.reserve(rows.Size());
        for (size_t i = 0; i < rows.Size(); ++i) {
            KeyedRow keyed{rows[i], {}};
            for (size_t k = 0; k < kMaxOrderKeys && order.keys[k] != Column::None; ++k)
                keyed.key[k] = &keyed.row[order.keys[k]];
            sorted.push_back(keyed);
        }
        // Rows of equal keys keep table order, so findings are the same on every run.
        std::sort(sorted.begin(), sorted.end(), [](const KeyedRow& a, const KeyedRow& b) {
            const int byKeys = CompareKeys(a, b);
            return byKeys != 0 ? byKeys < 0 : a.row.Precedes(b.row);
        });
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
