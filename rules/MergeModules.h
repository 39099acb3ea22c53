#pragma once
// The merge modules that rules compare packages with: the *.msm files directly in a list of
// folders, read once per run. Modules are taken folder by folder and, within a folder, in
// the ordinal order of their file names; the first module that supplies an entry is the one
// named for it.
#include <mutex>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "msicomp/mergemods/MsmInfoExtracter.h"
#include "rules/RulePackage.h"

namespace kw {

struct MergeModule {
    MergeModuleInfo info;
    std::wstring moduleId; // ModuleID of its first ModuleSignature row
    std::unordered_set<std::wstring> files; // full paths: FullPathDir, "\", the long name
    std::set<std::pair<std::wstring, std::wstring>> registry; // (RootKey, Name)
};

class MergeModules {
public:
    // The folders in the order they are searched; a folder that does not exist holds no module.
    explicit MergeModules(std::vector<std::wstring> folders = {});

    // The modules that could be read; loaded on first use, once, whichever thread asks first.
    const std::vector<MergeModule>& Modules();

    const MergeModule* SupplyingFile(const std::wstring& fullPath);
    const MergeModule* SupplyingRegistry(const std::wstring& rootKey, const std::wstring& name);

private:
    std::vector<std::wstring> folders_;
    std::once_flag loaded_;
    std::vector<MergeModule> modules_;
};

// Whether a package's component came from the module: the package's ModuleComponents lists
// it under the module's id, or its name ends with "." and the module id's part after its
// first ".", as merging names the components it adds.
bool IsModuleComponent(std::wstring_view component, const std::wstring& moduleId, const RowTable& moduleComponents);

} // namespace kw
