// The operating-system version on POSIX: the kernel's release from uname and the
// distribution's name from os-release (see os/OsVersion.h for which field holds what).
#include <sys/utsname.h>

#include <string>

#include "os/FileSystem.h"
#include "os/OsVersion.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

// The os-release files, in the order the distributions' own tools read them.
constexpr const wchar_t* kOsReleaseFiles[] = {L"/etc/os-release", L"/usr/lib/os-release"};

// The leading number of `text` from `position` on, which moves past it and one point after it.
std::uint32_t TakeNumber(std::string_view text, size_t& position)
{
    std::uint32_t number = 0;
    while (position < text.size() && text[position] >= '0' && text[position] <= '9')
        number = number * 10 + static_cast<std::uint32_t>(text[position++] - '0');
    if (position < text.size() && text[position] == '.')
        ++position;
    return number;
}

// The value of `key` in the text of an os-release file: shell-style assignments "KEY=value",
// the value bare or in double or single quotes, with backslash escapes outside single quotes;
// the last assignment wins. Empty when the key is not assigned.
std::wstring OsReleaseValue(std::string_view text, std::string_view key)
{
    std::string found;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        const size_t start = line.find_first_not_of(" \t");
        if (start == std::string_view::npos || line[start] == '#')
            continue;
        line.remove_prefix(start);
        if (!line.starts_with(key) || line.substr(key.size(), 1) != "=")
            continue;
        line.remove_prefix(key.size() + 1);
        std::string value;
        char quote = '\0';
        for (size_t i = 0; i < line.size(); ++i) {
            const char c = line[i];
            if (quote == '\0' && (c == '"' || c == '\'')) {
                quote = c;
            } else if (c == quote) {
                quote = '\0';
            } else if (c == '\\' && quote != '\'' && i + 1 < line.size()) {
                // In double quotes only these characters are escaped; elsewhere any is.
                const char next = line[i + 1];
                if (quote == '"' && std::string_view("\"\\$`").find(next) == std::string_view::npos) {
                    value += c;
                } else {
                    value += next;
                    ++i;
                }
            } else if (quote == '\0' && (c == ' ' || c == '\t' || c == '\r')) {
                break;
            } else {
                value += c;
            }
        }
        found = std::move(value);
    }
    return FromUtf8(found);
}

std::wstring DistributionName()
{
    for (const wchar_t* file : kOsReleaseFiles) {
        std::string text;
        if (ReadFileBytes(file, text))
            return OsReleaseValue(text, "PRETTY_NAME");
    }
    return {};
}

} // namespace

OsVersion ReadOsVersion()
{
    OsVersion version;
    utsname names{};
    if (::uname(&names) == 0) {
        const std::string_view release = names.release;
        size_t position = 0;
        version.major = TakeNumber(release, position);
        version.minor = TakeNumber(release, position);
        version.buildNumber = FromUtf8(release);
    }
    version.servicePack = DistributionName();
    version.productType = kProductWorkstation;
    return version;
}

} // namespace kw
