// Prints what the program reads of every package in a folder, in canonical text (sorted
// where the program's collections have no order of their own), so that the Linux build and
// the Windows build can be compared on the same real packages.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "msicomp/MsiDatabase.h"
#include "msicomp/MsiQuery.h"
#include "msicomp/PackageTables.h"
#include "util/strings/StringSystem.h"

namespace {

// Values may hold line breaks and tabs: written as \r, \n and \t, every record is one line.
std::wstring Escaped(const std::wstring& text)
{
    std::wstring out;
    for (wchar_t c : text) {
        switch (c) {
        case L'\\': out += L"\\\\"; break;
        case L'\r': out += L"\\r"; break;
        case L'\n': out += L"\\n"; break;
        case L'\t': out += L"\\t"; break;
        default: out += c;
        }
    }
    return out;
}

void Print(const std::wstring& line)
{
    const std::string bytes = kw::ToUtf8(line + L"\n");
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
}

void Dump(const std::filesystem::path& file)
{
    Print(L"== " + file.filename().wstring());
    kw::MsiHandle database;
    const UINT opened = kw::OpenPackage(file.wstring(), database);
    Print(L"open: " + std::to_wstring(opened));
    if (opened != 0)
        return;
    std::wstring name = L"(none)";
    kw::GetPropertyValue(database.Get(), L"ProductName", name);
    Print(L"ProductName: " + Escaped(name));
    Print(L"PackageCode: " + kw::GetPackageCode(database.Get()));
    try {
        const kw::PackageTables tables(database.Get(), kw::kLoadEverything, false);
        for (const auto& [id, path] : std::map(tables.FullPathDir().begin(), tables.FullPathDir().end()))
            Print(L"dir\t" + Escaped(id) + L"\t" + Escaped(path));
        std::map<std::wstring, const kw::FileEntry*> files;
        for (const auto& [path, entry] : tables.Files())
            files.emplace(path, &entry);
        for (const auto& [path, entry] : files)
            Print(L"file\t" + Escaped(path) + L"\t" + Escaped(entry->fileName) + L"\t" + std::to_wstring(entry->size));
        for (const kw::RegistryEntry& entry : tables.Registry())
            Print(L"reg\t" + entry.root + L"\t" + Escaped(entry.key) + L"\t" + Escaped(entry.name) + L"\t" +
                Escaped(entry.value));
    } catch (const std::exception& e) {
        Print(L"error: " + kw::FromUtf8(e.what()));
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: kw_package_dump FOLDER\n");
        return 2;
    }
    std::vector<std::filesystem::path> packages;
    for (const auto& entry : std::filesystem::directory_iterator(kw::FromUtf8(argv[1]))) {
        const std::wstring extension = entry.path().extension().wstring();
        if (extension == L".msi" || extension == L".msm")
            packages.push_back(entry.path());
    }
    std::sort(packages.begin(), packages.end());
    for (const auto& package : packages)
        Dump(package);
    return 0;
}
