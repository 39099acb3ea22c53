#include "os/OsVersion.h"

#include <algorithm>

namespace kw {

namespace {

struct SuiteName {
    std::wstring_view name;
    std::uint16_t bit;
};

// The names of "ProductSuite" and their VER_SUITE_* bits; 0x0100 has no name.
constexpr SuiteName kSuiteNames[] = {
    {L"Small Business", 0x0001},
    {L"Enterprise", 0x0002},
    {L"BackOffice", 0x0004},
    {L"CommunicationServer", 0x0008},
    {L"Terminal Server", 0x0010},
    {L"Small Business(Restricted)", 0x0020},
    {L"EmbeddedNT", 0x0040},
    {L"DataCenter", 0x0080},
    {L"Personal", 0x0200},
    {L"Blade", 0x0400},
    {L"Embedded(Restricted)", 0x0800},
    {L"Security Appliance", 0x1000},
    {L"Storage Server", 0x2000},
    {L"Compute Server", 0x4000},
};

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

} // namespace

std::optional<VersionNumbers> ParseCurrentVersion(std::wstring_view text)
{
    // Deliberately only the single-digit form: systems with two-digit versions carry the
    // DWORD values, so this text is read only on systems of version 6.3 or older.
    if (text.size() != 3 || !IsDigit(text[0]) || text[1] != L'.' || !IsDigit(text[2]))
        return std::nullopt;
    return VersionNumbers{static_cast<std::uint32_t>(text[0] - L'0'), static_cast<std::uint32_t>(text[2] - L'0')};
}

void SetProductType(OsVersion& version, std::wstring_view productType)
{
    if (productType == L"WinNT")
        version.productType = kProductWorkstation;
    else if (productType == L"ServerNT")
        version.productType = kProductServer;
    else
        version.productType = kProductDomainController;
    version.server = productType != L"WinNT";
}

std::uint16_t SuiteMaskOf(std::wstring_view productSuite)
{
    std::uint16_t mask = 0;
    while (!productSuite.empty() && productSuite.front() != L'\0') {
        const std::wstring_view name = productSuite.substr(0, productSuite.find(L'\0'));
        for (const SuiteName& suite : kSuiteNames) {
            if (suite.name == name)
                mask |= suite.bit;
        }
        productSuite.remove_prefix(std::min(name.size() + 1, productSuite.size()));
    }
    return mask;
}

const OsVersion& GetOsVersion()
{
    // Read once, on the first call from any thread.
    static const OsVersion version = ReadOsVersion();
    return version;
}

} // namespace kw
