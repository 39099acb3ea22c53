// Runs every rule over every ordered pair of packages in a folder, each package also against
// itself, with the folder's merge modules as the modules that supply entries, and prints all
// findings, so that the Linux build and the Windows build can be compared on real packages.
// Packages are shown by file name and module paths relative to the folder, so that the two
// builds print the same text.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "os/ResourceText.h"
#include "rules/RuleCatalogue.h"
#include "ui/DetectionText.h"
#include "util/strings/StringSystem.h"

namespace {

// Carriage returns inside values are shown escaped: the comparison drops the Windows line ends.
void Print(std::wstring line)
{
    for (size_t at = line.find(L'\r'); at != std::wstring::npos; at = line.find(L'\r', at))
        line.replace(at, 1, L"\\r");
    const std::string bytes = kw::ToUtf8(line + L"\n");
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
}

std::wstring Relative(std::wstring text, const std::wstring& folder)
{
    for (size_t at = text.find(folder); at != std::wstring::npos; at = text.find(folder, at))
        text.erase(at, folder.size());
    return text;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: kw_rule_findings FOLDER\n");
        return 2;
    }
    if (!kw::LoadResourceLibrary()) {
        std::fprintf(stderr, "the resource library cannot be loaded\n");
        return 1;
    }
    const std::filesystem::path folder(kw::FromUtf8(argv[1]));
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::wstring extension = entry.path().extension().wstring();
        if (extension == L".msi" || extension == L".msm")
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    std::vector<std::unique_ptr<kw::RulePackage>> packages;
    packages.reserve(files.size());
    for (const auto& file : files)
        packages.push_back(std::make_unique<kw::RulePackage>(file.wstring(), file.filename().wstring()));

    kw::MergeModules modules({folder.wstring()});
    const std::wstring prefix = (folder / L"").wstring();
    const kw::RuleCatalogue catalogue = kw::BuildCatalogue();
    size_t total = 0;
    for (const auto& underTest : packages) {
        for (const auto& repository : packages) {
            kw::PackagePair pair(*underTest, *repository, &modules);
            const kw::FindingList findings = kw::RunCatalogue(catalogue, pair);
            if (findings.empty())
                continue;
            Print(L"== " + underTest->DisplayPath() + L" | " + repository->DisplayPath());
            for (const kw::FindingHandle& finding : findings)
                Print(Relative(kw::FindingLine(*finding), prefix));
            total += findings.size();
        }
    }
    Print(L"findings: " + std::to_wstring(total));
    return 0;
}
