// The nineteen conflict rules. Row rules are plain data walked by one routine: sort both
// packages' rows by the rule's key, intersect them, compare each common row with the first
// repository row of its key. The rest (CR2, CR12 to CR14, CR19) are functions of their own.
#include <algorithm>
#include <array>

#include "rules/RuleCatalogue.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

// What makes two rows of one key a conflict.
enum class Conflict {
    DifferentComponentId,
    DifferentValue, // any of the compared columns differs
    DifferentComponentIdAndValue, // ComponentId differs, and any of the compared columns
    Always, // every common row
};

// A column of a row, reported as a value of this field.
struct ColumnField {
    FindingField field;
    Column column = Column::None; // None: no value
};
using ColumnFields = std::array<ColumnField, 5>;

struct RowRuleDefinition {
    const wchar_t* id;
    View first; // of the package under test, or of the repository package when reversed
    View second;
    Conflict conflict;
    std::array<Column, 3> compared{}; // unused entries are None
    ColumnFields subject{}; // what both rows have, from the first package's row
    ColumnFields side{}; // each package's own, from its row
};

// Findings of one rule.
class Findings {
public:
    explicit Findings(const wchar_t* ruleId) : ruleId_(ruleId) { }

    void Add(std::vector<FindingValue> subject, FindingSide first, FindingSide second)
    {
        list_.push_back(std::make_shared<const ConflictFinding>(
            ConflictFinding{ruleId_, std::move(subject), {std::move(first), std::move(second)}}));
    }

    FindingList Take() { return std::move(list_); }

private:
    const wchar_t* ruleId_;
    FindingList list_;
};

std::vector<FindingValue> Values(const KeyedRow& row, const ColumnFields& fields)
{
    std::vector<FindingValue> values;
    for (const ColumnField& field : fields) {
        if (field.column != Column::None)
            values.push_back({field.field, std::wstring(row.row[field.column])});
    }
    return values;
}

FindingSide Side(RulePackage& package, std::vector<FindingValue> values = {})
{
    return {package.Identity(), std::move(values)};
}

bool AnyDiffers(const KeyedRow& a, const KeyedRow& b, const std::array<Column, 3>& columns)
{
    return std::any_of(columns.begin(), columns.end(),
        [&](Column column) { return column != Column::None && a.row[column] != b.row[column]; });
}

bool IsConflict(const RowRuleDefinition& rule, const KeyedRow& a, const KeyedRow& b)
{
    // Only the kinds that compare components read them: not every row set has one.
    const auto differentComponent = [&] { return a.row[Column::ComponentId] != b.row[Column::ComponentId]; };
    switch (rule.conflict) {
    case Conflict::DifferentComponentId: return differentComponent();
    case Conflict::DifferentValue: return AnyDiffers(a, b, rule.compared);
    case Conflict::DifferentComponentIdAndValue: return differentComponent() && AnyDiffers(a, b, rule.compared);
    case Conflict::Always: return true;
    }
    return false;
}

void RunRowRule(PackagePair& pair, const RowRuleDefinition& rule, bool reversed, Findings& findings)
{
    for (const KeyedRow& a : pair.Common(rule.first, rule.second, reversed)) {
        const KeyedRow& b = pair.FirstMatch(rule.second, a, reversed);
        if (IsConflict(rule, a, b)) {
            findings.Add(Values(a, rule.subject), Side(pair.First(reversed), Values(a, rule.side)),
                Side(pair.Second(reversed), Values(b, rule.side)));
        }
    }
}

// The rule of one definition, or of several run one after the other.
template <const RowRuleDefinition&... Definitions> FindingList RowRule(PackagePair& pair)
{
    constexpr const RowRuleDefinition* kDefinitions[] = {&Definitions...};
    Findings findings(kDefinitions[0]->id);
    (RunRowRule(pair, Definitions, false, findings), ...);
    return findings.Take();
}

constexpr ColumnField kFolder = {FindingField::Folder, Column::FullPathDir};
constexpr ColumnField kFileName = {FindingField::FileName, Column::FileName};
constexpr ColumnField kComponent = {FindingField::Component, Column::Component};
constexpr ColumnField kComponentId = {FindingField::ComponentId, Column::ComponentId};
constexpr ColumnFields kComponentOfRow = {kComponent, kComponentId};
constexpr ColumnFields kRegistryEntry = {ColumnField{FindingField::Root, Column::Root},
    {FindingField::Key, Column::Key}, {FindingField::Name, Column::Name}};

constexpr RowRuleDefinition kComponentFolders = {
    .id = L"CR1",
    .first = View::ComponentsById,
    .second = View::ComponentsById,
    .conflict = Conflict::DifferentValue,
    .compared = {Column::FullPathDir},
    .subject = {kComponentId},
    .side = {kComponent, kFolder},
};
constexpr RowRuleDefinition kFileComponents = {
    .id = L"CR3",
    .first = View::FilesByFolderAndName,
    .second = View::FilesByFolderAndName,
    .conflict = Conflict::DifferentComponentId,
    .subject = {kFolder, kFileName},
    .side = kComponentOfRow,
};
constexpr RowRuleDefinition kFileVersions = {
    .id = L"CR4",
    .first = View::FilesByComponentFolderAndName,
    .second = View::FilesByComponentFolderAndName,
    .conflict = Conflict::DifferentValue,
    .compared = {Column::Version},
    .subject = {kFolder, kFileName, kComponentId},
    .side = {kComponent, ColumnField{FindingField::Version, Column::Version}},
};
constexpr RowRuleDefinition kModuleVersions = {
    .id = L"CR5",
    .first = View::ModulesById,
    .second = View::ModulesById,
    .conflict = Conflict::DifferentValue,
    .compared = {Column::Version},
    .subject = {ColumnField{FindingField::ModuleId, Column::ModuleId}},
    .side = {ColumnField{FindingField::Version, Column::Version}},
};
constexpr RowRuleDefinition kRegistryComponents = {
    .id = L"CR6",
    .first = View::RegistryByEntry,
    .second = View::RegistryByEntry,
    .conflict = Conflict::DifferentComponentId,
    .subject = kRegistryEntry,
    .side = kComponentOfRow,
};
constexpr RowRuleDefinition kShortcutComponents = {
    .id = L"CR7",
    .first = View::ShortcutsByFolderAndName,
    .second = View::ShortcutsByFolderAndName,
    .conflict = Conflict::DifferentComponentId,
    .subject = {kFolder, ColumnField{FindingField::Name, Column::Name}},
    .side = kComponentOfRow,
};
constexpr RowRuleDefinition kIniEntryComponents = {
    .id = L"CR8",
    .first = View::IniFilesByEntry,
    .second = View::IniFilesByEntry,
    .conflict = Conflict::DifferentComponentId,
    .subject = {kFolder, kFileName, ColumnField{FindingField::Section, Column::Section},
        {FindingField::Key, Column::Key}, {FindingField::Value, Column::Value}},
    .side = kComponentOfRow,
};
constexpr RowRuleDefinition kDataSourceComponents = {
    .id = L"CR9",
    .first = View::DataSourcesByName,
    .second = View::DataSourcesByName,
    .conflict = Conflict::DifferentComponentId,
    .subject = {ColumnField{FindingField::DataSource, Column::DataSource}},
    .side = kComponentOfRow,
};
constexpr RowRuleDefinition kDriverComponents = {
    .id = L"CR9",
    .first = View::DriversByName,
    .second = View::DriversByName,
    .conflict = Conflict::DifferentComponentId,
    .subject = {ColumnField{FindingField::Driver, Column::Driver}},
    .side = kComponentOfRow,
};
constexpr RowRuleDefinition kServiceComponents = {
    .id = L"CR10",
    .first = View::ServicesByName,
    .second = View::ServicesByName,
    .conflict = Conflict::DifferentComponentId,
    .subject = {ColumnField{FindingField::Name, Column::Name}},
    .side = kComponentOfRow,
};
constexpr RowRuleDefinition kVerbComponents = {
    .id = L"CR11",
    .first = View::VerbsByExtensionAndVerb,
    .second = View::VerbsByExtensionAndVerb,
    .conflict = Conflict::DifferentComponentId,
    .subject = {ColumnField{FindingField::Extension, Column::Extension}, {FindingField::Verb, Column::Verb}},
    .side = kComponentOfRow,
};
// The package that edits the INI file is the first side, the one that installs it the second.
constexpr RowRuleDefinition kIniFilesInstalled = {
    .id = L"CR15",
    .first = View::IniFilesByFolderAndName,
    .second = View::FilesByFolderAndName,
    .conflict = Conflict::Always,
    .subject = {kFolder, kFileName},
    .side = {kComponent},
};
constexpr RowRuleDefinition kFileDetails = {
    .id = L"CR16",
    .first = View::FilesByFolderAndName,
    .second = View::FilesByFolderAndName,
    .conflict = Conflict::DifferentComponentIdAndValue,
    .compared = {Column::FileSize, Column::Version, Column::Language},
    .subject = {kFolder, kFileName},
    .side = {kComponent, kComponentId, ColumnField{FindingField::FileSize, Column::FileSize},
        {FindingField::Version, Column::Version}, {FindingField::Language, Column::Language}},
};
constexpr RowRuleDefinition kRegistryValues = {
    .id = L"CR17",
    .first = View::RegistryByEntry,
    .second = View::RegistryByEntry,
    .conflict = Conflict::DifferentValue,
    .compared = {Column::Value},
    .subject = kRegistryEntry,
    .side = {ColumnField{FindingField::Value, Column::Value}},
};
constexpr RowRuleDefinition kKeyPathComponents = {
    .id = L"CR18",
    .first = View::ComponentsByKeyPath,
    .second = View::ComponentsByKeyPath,
    .conflict = Conflict::DifferentComponentId,
    .subject = {ColumnField{FindingField::KeyPath, Column::KeyPath}, kFolder},
    .side = {kComponent, kComponentId},
};

// Every column a row rule reads is one its views' rows have: the subject from the first view's
// rows, the compared columns, the sides' values and the component ids from both.
constexpr bool ReadsItsOwnColumns(const RowRuleDefinition& rule)
{
    const RowSet first = SetOf(rule.first);
    const RowSet second = SetOf(rule.second);
    const auto inBoth = [&](Column column) {
        return column == Column::None || (Has(first, column) && Has(second, column));
    };
    const bool componentIds =
        rule.conflict != Conflict::DifferentComponentId && rule.conflict != Conflict::DifferentComponentIdAndValue
        ? true
        : inBoth(Column::ComponentId);
    return componentIds && std::all_of(rule.compared.begin(), rule.compared.end(), inBoth) &&
        std::all_of(
            rule.side.begin(), rule.side.end(), [&](const ColumnField& field) { return inBoth(field.column); }) &&
        std::all_of(rule.subject.begin(), rule.subject.end(),
            [&](const ColumnField& field) { return field.column == Column::None || Has(first, field.column); });
}

constexpr const RowRuleDefinition* kRowRules[] = {&kComponentFolders, &kFileComponents, &kFileVersions,
    &kModuleVersions, &kRegistryComponents, &kShortcutComponents, &kIniEntryComponents, &kDataSourceComponents,
    &kDriverComponents, &kServiceComponents, &kVerbComponents, &kIniFilesInstalled, &kFileDetails, &kRegistryValues,
    &kKeyPathComponents};
static_assert(std::all_of(std::begin(kRowRules), std::end(kRowRules),
    [](const RowRuleDefinition* rule) { return ReadsItsOwnColumns(*rule); }));

// CR15 looks both ways: INI files the package under test edits that the repository package
// installs, then the reverse.
FindingList IniFilesInstalledAsFiles(PackagePair& pair)
{
    Findings findings(kIniFilesInstalled.id);
    RunRowRule(pair, kIniFilesInstalled, false, findings);
    RunRowRule(pair, kIniFilesInstalled, true, findings);
    return findings.Take();
}

// CR2: for each ComponentId both packages have (once, however many rows carry it), every file
// of that component that only one package installs. The package that has it is the first side.
FindingList ComponentFiles(PackagePair& pair)
{
    Findings findings(L"CR2");
    const auto byComponent = [](const KeyedRow& a, const KeyedRow& b) {
        return CompareOrdinal(*a.key[0], *b.key[0]) < 0;
    };
    const std::vector<KeyedRow>& filesA = pair.UnderTest().Sorted(View::FilesByComponentAndName);
    const std::vector<KeyedRow>& filesB = pair.Repository().Sorted(View::FilesByComponentAndName);
    const auto report = [&](const KeyedRow& file, RulePackage& having, RulePackage& lacking) {
        findings.Add({{FindingField::ComponentId, std::wstring(*file.key[0])},
                         {FindingField::FileName, std::wstring(*file.key[1])}},
            Side(having, {{FindingField::Component, std::wstring(file.row[Column::Component])}}), Side(lacking));
    };
    const std::wstring_view* previous = nullptr;
    for (const KeyedRow& component : pair.Common(View::ComponentsById, View::ComponentsById)) {
        if (previous != nullptr && *previous == *component.key[0])
            continue;
        previous = component.key[0];
        const KeyedRow probe{Row(), {component.key[0]}};
        auto [a, endA] = std::equal_range(filesA.begin(), filesA.end(), probe, byComponent);
        auto [b, endB] = std::equal_range(filesB.begin(), filesB.end(), probe, byComponent);
        // The symmetric difference of the two sorted ranges by file name.
        while (a != endA || b != endB) {
            const int order = a == endA ? 1 : b == endB ? -1 : CompareOrdinal(*a->key[1], *b->key[1]);
            if (order < 0)
                report(*a++, pair.UnderTest(), pair.Repository());
            else if (order > 0)
                report(*b++, pair.Repository(), pair.UnderTest());
            else
                ++a, ++b;
        }
    }
    return findings.Take();
}

// CR12 to CR14: one code of each package, read once per package, equal in both.
struct CodeRuleDefinition {
    const wchar_t* id;
    std::wstring PackageCodes::*code;
    bool PackageCodes::*present; // null: the code is present when not empty
};

constexpr CodeRuleDefinition kPackageCode = {.id = L"CR12", .code = &PackageCodes::packageCode, .present = nullptr};
constexpr CodeRuleDefinition kProductCode = {
    .id = L"CR13", .code = &PackageCodes::productCode, .present = &PackageCodes::hasProductCode};
constexpr CodeRuleDefinition kUpgradeCode = {
    .id = L"CR14", .code = &PackageCodes::upgradeCode, .present = &PackageCodes::hasUpgradeCode};

template <const CodeRuleDefinition& Definition> FindingList SharedCode(PackagePair& pair)
{
    const PackageCodes& a = pair.UnderTest().Codes();
    const PackageCodes& b = pair.Repository().Codes();
    const auto present = [](const PackageCodes& codes) {
        return Definition.present != nullptr ? codes.*Definition.present : !(codes.*Definition.code).empty();
    };
    Findings findings(Definition.id);
    if (present(a) && present(b) && a.*Definition.code == b.*Definition.code)
        findings.Add({{FindingField::Code, a.*Definition.code}}, Side(pair.UnderTest()), Side(pair.Repository()));
    return findings.Take();
}

// CR19: files and registry values that both packages install and a merge module supplies,
// where at least one package does not install them through that module's components.
FindingList ModuleSuppliedEntries(PackagePair& pair)
{
    Findings findings(L"CR19");
    if (pair.Modules() == nullptr || pair.Modules()->Modules().empty())
        return findings.Take();
    MergeModules& modules = *pair.Modules();
    const RowTable& moduleComponentsA = pair.UnderTest().Rows(RowSet::ModuleComponents);
    const RowTable& moduleComponentsB = pair.Repository().Rows(RowSet::ModuleComponents);
    const auto check = [&](const wchar_t* table, const KeyedRow& a, const KeyedRow& b, const std::wstring& entry,
                           const MergeModule* module) {
        if (module == nullptr)
            return;
        const std::wstring_view componentA = a.row[Column::Component];
        const std::wstring_view componentB = b.row[Column::Component];
        if (IsModuleComponent(componentA, module->moduleId, moduleComponentsA) &&
            IsModuleComponent(componentB, module->moduleId, moduleComponentsB))
            return;
        findings.Add(
            {{FindingField::Table, table}, {FindingField::Entry, entry},
                {FindingField::MergeModule, module->info.subject}, {FindingField::ModuleVersion, module->info.version},
                {FindingField::ModulePath, module->info.path}},
            Side(pair.UnderTest(), {{FindingField::Component, std::wstring(componentA)}}),
            Side(pair.Repository(), {{FindingField::Component, std::wstring(componentB)}}));
    };
    for (const KeyedRow& a : pair.Common(View::FilesByFolderAndName, View::FilesByFolderAndName)) {
        const std::wstring path = FilePath(*a.key[0], *a.key[1]);
        check(L"File", a, pair.FirstMatch(View::FilesByFolderAndName, a), path, modules.SupplyingFile(path));
    }
    for (const KeyedRow& a : pair.Common(View::RegistryByRootKey, View::RegistryByRootKey)) {
        const std::wstring rootKey(*a.key[0]);
        const std::wstring name(*a.key[1]);
        std::wstring entry = rootKey;
        entry.append(L" [").append(name).append(L"]");
        check(L"Registry", a, pair.FirstMatch(View::RegistryByRootKey, a), entry,
            modules.SupplyingRegistry(rootKey, name));
    }
    return findings.Take();
}

// The catalogue, in id order.
struct CatalogueEntry {
    const wchar_t* id;
    RuleFunction function;
};

constexpr CatalogueEntry kCatalogue[] = {
    {L"CR1", &RowRule<kComponentFolders>},
    {L"CR2", &ComponentFiles},
    {L"CR3", &RowRule<kFileComponents>},
    {L"CR4", &RowRule<kFileVersions>},
    {L"CR5", &RowRule<kModuleVersions>},
    {L"CR6", &RowRule<kRegistryComponents>},
    {L"CR7", &RowRule<kShortcutComponents>},
    {L"CR8", &RowRule<kIniEntryComponents>},
    {L"CR9", &RowRule<kDataSourceComponents, kDriverComponents>},
    {L"CR10", &RowRule<kServiceComponents>},
    {L"CR11", &RowRule<kVerbComponents>},
    {L"CR12", &SharedCode<kPackageCode>},
    {L"CR13", &SharedCode<kProductCode>},
    {L"CR14", &SharedCode<kUpgradeCode>},
    {L"CR15", &IniFilesInstalledAsFiles},
    {L"CR16", &RowRule<kFileDetails>},
    {L"CR17", &RowRule<kRegistryValues>},
    {L"CR18", &RowRule<kKeyPathComponents>},
    {L"CR19", &ModuleSuppliedEntries},
};

} // namespace

RuleCatalogue BuildCatalogue()
{
    RuleCatalogue catalogue;
    for (const CatalogueEntry& entry : kCatalogue)
        catalogue.push_back(ConflictRule{entry.id, entry.function});
    return catalogue;
}

FindingList RunCatalogue(const RuleCatalogue& catalogue, PackagePair& pair)
{
    FindingList all;
    for (const ConflictRule& rule : catalogue) {
        FindingList found = rule.function(pair);
        all.insert(all.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
    }
    return all;
}

} // namespace kw
