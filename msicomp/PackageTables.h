#pragma once
// The three tables of a package that need more than a plain read: directories with their
// full paths, files by full path, and registry entries.
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "msicomp/DirectoryResolution.h"
#include "msicomp/MsiApi.h"

namespace kw {

struct FileEntry {
    std::wstring fileName; // FileName as stored, short and long
    std::wstring fullPath; // FullPathDir of the component's folder, "\", the long name
    std::int64_t size = 0;
};

struct RegistryEntry {
    std::wstring root; // decimal text of the installer's root: -1, 0, 1, 2, 3
    std::wstring key;
    std::wstring name;
    std::wstring value;
};

enum PackageLoadKind : int {
    kLoadEverything = 0, // registry, directories, files
    kLoadDirectories = 1,
};

// FileSize as a base-10 integer, as the standard conversion reads it. Throws the standard
// library's own errors, uncaught on purpose: FileSize is a required integer column.
std::int64_t ParseFileSize(const std::wstring& text);

class PackageTables {
public:
    // Loads at once; `mapTargetDirToAppDir` roots paths under TARGETDIR at APPDIR.
    PackageTables(MSIHANDLE handle, PackageLoadKind loadKind, bool mapTargetDirToAppDir);

    const std::unordered_map<std::wstring, DirectoryNode>& Directories() const { return directories_; }
    const std::unordered_map<std::wstring, std::wstring>& FullPathDir() const { return fullPathDir_; }
    const std::unordered_map<std::wstring, FileEntry>& Files() const { return files_; }
    const std::vector<RegistryEntry>& Registry() const { return registry_; }

    // The full path of a directory id; empty text for an id that names no directory.
    const std::wstring& FullPathOf(const std::wstring& directoryId) const;

    PackageTables(const PackageTables&) = delete;
    PackageTables& operator=(const PackageTables&) = delete;

private:
    void LoadDirectories();
    void LoadFiles();
    void LoadRegistry();

    MSIHANDLE handle_;
    bool mapTargetDirToAppDir_;
    std::unordered_map<std::wstring, DirectoryNode> directories_;
    std::unordered_map<std::wstring, std::wstring> fullPathDir_;
    std::unordered_map<std::wstring, FileEntry> files_;
    std::vector<RegistryEntry> registry_;
};

} // namespace kw
