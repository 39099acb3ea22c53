#include "os/FileSystem.h"

#include <atomic>

namespace kw {

namespace {

constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
constexpr std::wstring_view kUncPrefix = L"\\\\";
constexpr std::wstring_view kLongUncPrefix = L"\\\\?\\UNC\\";

constexpr std::size_t kNoFault = static_cast<std::size_t>(-1);
std::atomic<std::size_t> g_writeFault{kNoFault};

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

void InjectWriteFaultForTests(std::optional<std::size_t> bytesBeforeFault)
{
    g_writeFault = bytesBeforeFault.value_or(kNoFault);
}

std::optional<std::size_t> InjectedWriteFault()
{
    const std::size_t fault = g_writeFault;
    if (fault == kNoFault)
        return std::nullopt;
    return fault;
}

} // namespace kw
