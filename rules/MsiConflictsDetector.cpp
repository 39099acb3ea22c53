// The nineteen conflict rules. Row rules are plain data walked by one routine: sort both
// packages' rows by the rule's key, intersect them, compare each common row with the first
// repository row of its key. The rest (CR2, CR12 to CR14, CR19) are functions of their own.
#include <algorithm>
#include <array>

#include "os/ResourceText.h"
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

struct DetailColumn {
    const wchar_t* column;
    bool rootName = false; // a registry root shown by its name
};

struct RowRuleSpec {
    const wchar_t* id;
    unsigned titleId;
    unsigned detailId;
    View first; // of the package under test, or of the repository package when reversed
    View second;
    Conflict conflict;
    std::array<const wchar_t*, 3> compared;
    // The detail's arguments: these columns of the first package's row, then for each package
    // (first, second) its name, its path and these columns of its row.
    std::array<DetailColumn, 5> keyColumns;
    std::array<const wchar_t*, 5> packageColumns;
};

// Findings of one rule, with its title loaded once.
class Findings {
public:
    Findings(const wchar_t* id, unsigned titleId) : id_(id), titleId_(titleId) { }

    void Add(unsigned detailId, const std::vector<std::wstring>& arguments)
    {
        if (!titleLoaded_) {
            title_ = LoadText(titleId_);
            titleLoaded_ = true;
        }
        list_.push_back(MakeFinding(id_, title_, FormatDetail(detailId, arguments)));
    }

    FindingList Take() { return std::move(list_); }

private:
    const wchar_t* id_;
    unsigned titleId_;
    std::wstring title_;
    bool titleLoaded_ = false;
    FindingList list_;
};

const std::wstring& Value(const KeyedRow& row, const wchar_t* column) { return ColumnValue(*row.row, column); }

bool AnyDiffers(const KeyedRow& a, const KeyedRow& b, const std::array<const wchar_t*, 3>& columns)
{
    return std::any_of(columns.begin(), columns.end(),
        [&](const wchar_t* column) { return column != nullptr && Value(a, column) != Value(b, column); });
}

bool IsConflict(const RowRuleSpec& spec, const KeyedRow& a, const KeyedRow& b)
{
    const bool differentComponent = Value(a, L"ComponentId") != Value(b, L"ComponentId");
    switch (spec.conflict) {
    case Conflict::DifferentComponentId: return differentComponent;
    case Conflict::DifferentValue: return AnyDiffers(a, b, spec.compared);
    case Conflict::DifferentComponentIdAndValue: return differentComponent && AnyDiffers(a, b, spec.compared);
    case Conflict::Always: return true;
    }
    return false;
}

void AppendPackage(std::vector<std::wstring>& arguments, RulePackage& package, const KeyedRow& row,
    const std::array<const wchar_t*, 5>& columns)
{
    arguments.push_back(package.Name());
    arguments.push_back(package.DisplayPath());
    for (const wchar_t* column : columns) {
        if (column != nullptr)
            arguments.push_back(Value(row, column));
    }
}

void RunRowRule(PackagePair& pair, const RowRuleSpec& spec, bool reversed, Findings& findings)
{
    for (const KeyedRow& a : pair.Common(spec.first, spec.second, reversed)) {
        const KeyedRow& b = pair.FirstMatch(spec.second, a, reversed);
        if (!IsConflict(spec, a, b))
            continue;
        std::vector<std::wstring> arguments;
        for (const DetailColumn& key : spec.keyColumns) {
            if (key.column != nullptr)
                arguments.push_back(key.rootName ? RegistryRootName(Value(a, key.column)) : Value(a, key.column));
        }
        AppendPackage(arguments, pair.First(reversed), a, spec.packageColumns);
        AppendPackage(arguments, pair.Second(reversed), b, spec.packageColumns);
        findings.Add(spec.detailId, arguments);
    }
}

// The rule of one spec, or of several run one after the other under the first one's title.
template <const RowRuleSpec&... Specs> FindingList RowRule(PackagePair& pair)
{
    constexpr const RowRuleSpec* kSpecs[] = {&Specs...};
    Findings findings(kSpecs[0]->id, kSpecs[0]->titleId);
    (RunRowRule(pair, Specs, false, findings), ...);
    return findings.Take();
}

constexpr std::array<const wchar_t*, 5> kComponentOfRow = {L"Component_", L"ComponentId"};

constexpr RowRuleSpec kComponentFolders = {L"CR1", 5819, 64100, View::ComponentsById, View::ComponentsById,
    Conflict::DifferentValue, {kFullPathDirColumn}, {{{L"ComponentId"}}}, {L"Component", kFullPathDirColumn}};
constexpr RowRuleSpec kFileComponents = {L"CR3", 5821, 5800, View::FilesByFolderAndName, View::FilesByFolderAndName,
    Conflict::DifferentComponentId, {}, {{{kFullPathDirColumn}, {L"FileName"}}}, kComponentOfRow};
constexpr RowRuleSpec kFileVersions = {L"CR4", 5822, 5801, View::FilesByComponentFolderAndName,
    View::FilesByComponentFolderAndName, Conflict::DifferentValue, {L"Version"},
    {{{kFullPathDirColumn}, {L"FileName"}, {L"ComponentId"}}}, {L"Component_", L"Version"}};
constexpr RowRuleSpec kModuleVersions = {L"CR5", 64102, 5802, View::ModulesById, View::ModulesById,
    Conflict::DifferentValue, {L"Version"}, {{{L"ModuleID"}}}, {L"Version"}};
constexpr RowRuleSpec kRegistryComponents = {L"CR6", 5823, 5803, View::RegistryByEntry, View::RegistryByEntry,
    Conflict::DifferentComponentId, {}, {{{L"Root", true}, {L"Key"}, {L"Name"}}}, kComponentOfRow};
constexpr RowRuleSpec kShortcutComponents = {L"CR7", 5824, 5804, View::ShortcutsByFolderAndName,
    View::ShortcutsByFolderAndName, Conflict::DifferentComponentId, {}, {{{kFullPathDirColumn}, {L"Name"}}},
    kComponentOfRow};
constexpr RowRuleSpec kIniEntryComponents = {L"CR8", 5825, 5805, View::IniFilesByEntry, View::IniFilesByEntry,
    Conflict::DifferentComponentId, {}, {{{kFullPathDirColumn}, {L"FileName"}, {L"Section"}, {L"Key"}, {L"Value"}}},
    kComponentOfRow};
constexpr RowRuleSpec kDataSourceComponents = {L"CR9", 5826, 5806, View::DataSourcesByName, View::DataSourcesByName,
    Conflict::DifferentComponentId, {}, {{{L"DataSource"}}}, kComponentOfRow};
constexpr RowRuleSpec kDriverComponents = {L"CR9", 5826, 5807, View::DriversByName, View::DriversByName,
    Conflict::DifferentComponentId, {}, {{{L"Driver"}}}, kComponentOfRow};
constexpr RowRuleSpec kServiceComponents = {L"CR10", 5827, 5808, View::ServicesByName, View::ServicesByName,
    Conflict::DifferentComponentId, {}, {{{L"Name"}}}, kComponentOfRow};
constexpr RowRuleSpec kVerbComponents = {L"CR11", 5828, 5809, View::VerbsByExtensionAndVerb,
    View::VerbsByExtensionAndVerb, Conflict::DifferentComponentId, {}, {{{L"Extension"}, {L"Verb"}}}, kComponentOfRow};
constexpr RowRuleSpec kIniFilesInstalled = {L"CR15", 5832, 5813, View::IniFilesByFolderAndName,
    View::FilesByFolderAndName, Conflict::Always, {}, {{{kFullPathDirColumn}, {L"FileName"}}}, {L"Component_"}};
constexpr RowRuleSpec kFileDetails = {L"CR16", 5833, 5814, View::FilesByFolderAndName, View::FilesByFolderAndName,
    Conflict::DifferentComponentIdAndValue, {L"FileSize", L"Version", L"Language"},
    {{{kFullPathDirColumn}, {L"FileName"}}}, {L"Component_", L"ComponentId", L"FileSize", L"Version", L"Language"}};
constexpr RowRuleSpec kRegistryValues = {L"CR17", 5834, 5815, View::RegistryByEntry, View::RegistryByEntry,
    Conflict::DifferentValue, {L"Value"}, {{{L"Root", true}, {L"Key"}, {L"Name"}}}, {L"Value"}};
constexpr RowRuleSpec kKeyPathComponents = {L"CR18", 5835, 5816, View::ComponentsByKeyPath, View::ComponentsByKeyPath,
    Conflict::DifferentComponentId, {}, {{{L"KeyPath"}, {kFullPathDirColumn}}}, {L"Component", L"ComponentId"}};

// CR15 looks both ways: INI files the package under test edits that the repository package
// installs, then the reverse; the editing package is named first.
FindingList IniFilesInstalledAsFiles(PackagePair& pair)
{
    Findings findings(kIniFilesInstalled.id, kIniFilesInstalled.titleId);
    RunRowRule(pair, kIniFilesInstalled, false, findings);
    RunRowRule(pair, kIniFilesInstalled, true, findings);
    return findings.Take();
}

// CR2: for each ComponentId both packages have (once, however many rows carry it), every file
// of that component that only one package installs.
FindingList ComponentFiles(PackagePair& pair)
{
    Findings findings(L"CR2", 5820);
    const auto byComponent = [](const KeyedRow& a, const KeyedRow& b) {
        return CompareOrdinal(*a.key[0], *b.key[0]) < 0;
    };
    const std::vector<KeyedRow>& filesA = pair.UnderTest().Sorted(View::FilesByComponentAndName);
    const std::vector<KeyedRow>& filesB = pair.Repository().Sorted(View::FilesByComponentAndName);
    const auto report = [&](const KeyedRow& file, RulePackage& having, RulePackage& lacking) {
        findings.Add(64101,
            {*file.key[0], *file.key[1], having.Name(), having.DisplayPath(), Value(file, L"Component_"),
                lacking.Name(), lacking.DisplayPath()});
    };
    const std::wstring* previous = nullptr;
    for (const KeyedRow& component : pair.Common(View::ComponentsById, View::ComponentsById)) {
        if (previous != nullptr && *previous == *component.key[0])
            continue;
        previous = component.key[0];
        const KeyedRow probe{nullptr, {component.key[0]}};
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
struct CodeRuleSpec {
    const wchar_t* id;
    unsigned titleId;
    unsigned detailId;
    std::wstring PackageCodes::*code;
    bool PackageCodes::*present; // null: the code is present when not empty
};

constexpr CodeRuleSpec kPackageCode = {L"CR12", 5829, 5810, &PackageCodes::packageCode, nullptr};
constexpr CodeRuleSpec kProductCode = {L"CR13", 5830, 5811, &PackageCodes::productCode, &PackageCodes::hasProductCode};
constexpr CodeRuleSpec kUpgradeCode = {L"CR14", 5831, 5812, &PackageCodes::upgradeCode, &PackageCodes::hasUpgradeCode};

template <const CodeRuleSpec& Spec> FindingList SharedCode(PackagePair& pair)
{
    const PackageCodes& a = pair.UnderTest().Codes();
    const PackageCodes& b = pair.Repository().Codes();
    const auto present = [](const PackageCodes& codes) {
        return Spec.present != nullptr ? codes.*Spec.present : !(codes.*Spec.code).empty();
    };
    Findings findings(Spec.id, Spec.titleId);
    if (present(a) && present(b) && a.*Spec.code == b.*Spec.code) {
        findings.Add(Spec.detailId,
            {a.*Spec.code, pair.UnderTest().Name(), pair.UnderTest().DisplayPath(), pair.Repository().Name(),
                pair.Repository().DisplayPath()});
    }
    return findings.Take();
}

// CR19: files and registry values that both packages install and a merge module supplies,
// where at least one package does not install them through that module's components.
FindingList ModuleSuppliedEntries(PackagePair& pair)
{
    Findings findings(L"CR19", 5910);
    if (pair.Modules() == nullptr || pair.Modules()->Modules().empty())
        return findings.Take();
    MergeModules& modules = *pair.Modules();
    const std::vector<MsiRow>& moduleComponentsA = pair.UnderTest().Rows(RowSet::ModuleComponents);
    const std::vector<MsiRow>& moduleComponentsB = pair.Repository().Rows(RowSet::ModuleComponents);
    const auto check = [&](const wchar_t* table, const KeyedRow& a, const KeyedRow& b, const std::wstring& entry,
                           const MergeModule* module) {
        if (module == nullptr)
            return;
        const std::wstring& componentA = Value(a, L"Component_");
        const std::wstring& componentB = Value(b, L"Component_");
        if (IsModuleComponent(componentA, module->moduleId, moduleComponentsA) &&
            IsModuleComponent(componentB, module->moduleId, moduleComponentsB))
            return;
        findings.Add(5911,
            {table, entry, module->info.subject, module->info.version, module->info.path, pair.UnderTest().Name(),
                pair.UnderTest().DisplayPath(), componentA, pair.Repository().Name(), pair.Repository().DisplayPath(),
                componentB});
    };
    for (const KeyedRow& a : pair.Common(View::FilesByFolderAndName, View::FilesByFolderAndName)) {
        const std::wstring path = *a.key[0] + L"\\" + *a.key[1];
        check(L"File", a, pair.FirstMatch(View::FilesByFolderAndName, a), path, modules.SupplyingFile(path));
    }
    for (const KeyedRow& a : pair.Common(View::RegistryByRootKey, View::RegistryByRootKey)) {
        const std::wstring entry = *a.key[0] + L" [" + *a.key[1] + L"]";
        check(L"Registry", a, pair.FirstMatch(View::RegistryByRootKey, a), entry,
            modules.SupplyingRegistry(*a.key[0], *a.key[1]));
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
