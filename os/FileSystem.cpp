#include "os/FileSystem.h"

namespace kw {

namespace {

constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
constexpr std::wstring_view kUncPrefix = L"\\\\";
constexpr std::wstring_view kLongUncPrefix = L"\\\\?\\UNC\\";

} // namespace

std::wstring WithLongPathPrefix(std::wstring_view path)
{
    if (path.size() < kLongPathLength || path.starts_with(kLongPrefix))
        return std::wstring(path);
    // "\\?\" + "\\server\share" would name no path at all.
    if (path.starts_with(kUncPrefix))
        return std::wstring(kLongUncPrefix) + std::wstring(path.substr(kUncPrefix.size()));
    return std::wstring(kLongPrefix) + std::wstring(path);
}

} // namespace kw
