#pragma once
// A fresh folder in the system's temporary folder, removed with everything in it at the end.
#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>

#include "os/FileSystem.h"

namespace kw {

class TemporaryFolder {
public:
    TemporaryFolder()
    {
        static std::atomic<unsigned> counter{0};
        const auto name = L"kw-test-" + std::to_wstring(std::chrono::steady_clock::now().time_since_epoch().count()) +
            L"-" + std::to_wstring(counter++);
        path_ = (std::filesystem::temp_directory_path() / name).wstring();
        CreateFolders(path_);
    }
    ~TemporaryFolder() { RemoveFolder(path_); }

    const std::wstring& Path() const { return path_; }
    std::wstring operator/(std::wstring_view name) const { return path_ + kPathSeparator + std::wstring(name); }

private:
    std::wstring path_;
};

} // namespace kw
