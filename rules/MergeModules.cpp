#include "rules/MergeModules.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "msicomp/MsiDatabase.h"
#include "msicomp/MsiTableView.h"
#include "msicomp/PackageTables.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

constexpr const wchar_t* kModuleIdColumns[] = {L"ModuleID", nullptr};

// The *.msm files directly in the folder, in the ordinal order of their names.
std::vector<std::filesystem::path> ModuleFiles(const std::wstring& folder)
{
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (std::filesystem::directory_iterator it(std::filesystem::path(folder), error), end; !error && it != end;
         it.increment(error)) {
        if (it->is_regular_file(error) && EqualsIgnoreCase(it->path().extension().wstring(), L".msm"))
            files.push_back(it->path());
    }
    std::stable_sort(files.begin(), files.end(),
        [](const auto& a, const auto& b) { return LessOrdinal(a.filename().wstring(), b.filename().wstring()); });
    return files;
}

// What a module installs: its files by full path and its registry values, loaded as modules
// are, rooted at APPDIR.
void LoadContents(MergeModule& module)
{
    MsiHandle database;
    if (OpenPackage(module.info.path, database) != 0)
        return;
    MsiTableView signature(database.Get());
    if (signature.LoadTable(L"ModuleSignature", kModuleIdColumns))
        module.moduleId = signature.Value(0, 0);
    const PackageTables tables(database.Get(), kLoadEverything, true);
    for (const auto& [path, entry] : tables.Files())
        module.files.insert(path);
    for (const RegistryEntry& entry : tables.Registry())
        module.registry.emplace(RegistryPath(entry.root, entry.key), entry.name);
}

} // namespace

MergeModules::MergeModules(std::vector<std::wstring> folders) : folders_(std::move(folders)) { }

const std::vector<MergeModule>& MergeModules::Modules()
{
    std::call_once(loaded_, [this] {
        const MsmInfoExtracter reader;
        for (const std::wstring& folder : folders_) {
            for (const std::filesystem::path& file : ModuleFiles(folder)) {
                MergeModule module;
                module.info = reader.Read(file.wstring());
                if (module.info.status != kModuleRead)
                    continue;
                LoadContents(module);
                modules_.push_back(std::move(module));
            }
        }
    });
    return modules_;
}

const MergeModule* MergeModules::SupplyingFile(const std::wstring& fullPath)
{
    for (const MergeModule& module : Modules()) {
        if (module.files.contains(fullPath))
            return &module;
    }
    return nullptr;
}

const MergeModule* MergeModules::SupplyingRegistry(const std::wstring& rootKey, const std::wstring& name)
{
    for (const MergeModule& module : Modules()) {
        if (module.registry.contains({rootKey, name}))
            return &module;
    }
    return nullptr;
}

bool IsModuleComponent(std::wstring_view component, const std::wstring& moduleId, const RowTable& moduleComponents)
{
    for (size_t i = 0; i < moduleComponents.Size(); ++i) {
        const Row row = moduleComponents[i];
        if (row[Column::Component] == component && row[Column::ModuleId] == moduleId)
            return true;
    }
    // A module id without a point has no part to carry into component names.
    const size_t point = moduleId.find(L'.');
    if (point == std::wstring::npos || point + 1 == moduleId.size())
        return false;
    const std::wstring_view suffix = std::wstring_view(moduleId).substr(point);
    return component.size() > suffix.size() && std::wstring_view(component).ends_with(suffix);
}

} // namespace kw
