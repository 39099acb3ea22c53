#pragma once
// What a merge module says of itself: version, the modules it depends on, summary texts and
// platform. Merge-module errors carry the context word "MergeMod".
#include <string>

#include "msicomp/MsiApi.h"

namespace kw {

enum MergeModuleStatus : int {
    kModuleRead = 0,
    kModuleNotFound = 1,
    kNotAModule = 2, // cannot be opened, or is not a merge module
};

struct MergeModuleInfo {
    std::wstring subject;
    std::wstring version; // ModuleSignature.Version of the first row
    std::wstring dependencies; // required modules by name, joined with "; "
    std::wstring author;
    std::wstring comments;
    std::wstring path; // as given to the reader
    int status = kModuleRead;
    std::wstring platform; // the template up to its first ";"
};

class MsmInfoExtracter {
public:
    // Reads the module at `path`. A missing file or a database that is no merge module is a
    // status; a module that opens but cannot be read throws.
    MergeModuleInfo Read(const std::wstring& path) const;

    // Whether the table is missing or has no row.
    static bool IsTableMissingOrEmpty(MSIHANDLE database, const wchar_t* table);
};

} // namespace kw
