#include "os/SystemError.h"

#include <algorithm>
#include <iterator>

namespace kw {

namespace {

thread_local std::uint32_t g_lastError = 0;

struct SystemMessage {
    std::uint32_t code;
    const wchar_t* text;
};

// The Windows texts of the codes that this program can meet on POSIX, as FormatMessageW
// returns them with the maximum-width flag: the final line break becomes a blank, which is
// why every text ends in one. Sorted by code.
constexpr SystemMessage kMessages[] = {
    {0, L"The operation completed successfully. "},
    {2, L"The system cannot find the file specified. "},
    {3, L"The system cannot find the path specified. "},
    {4, L"The system cannot open the file. "},
    {5, L"Access is denied. "},
    {6, L"The handle is invalid. "},
    {8, L"Not enough memory resources are available to process this command. "},
    {13, L"The data is invalid. "},
    {17, L"The system cannot move the file to a different disk drive. "},
    {31, L"A device attached to the system is not functioning. "},
    {32, L"The process cannot access the file because it is being used by another process. "},
    {87, L"The parameter is incorrect. "},
    {110, L"The system cannot open the device or file specified. "},
    {112, L"There is not enough space on the disk. "},
    {126, L"The specified module could not be found. "},
    {127, L"The specified procedure could not be found. "},
    {145, L"The directory is not empty. "},
    {183, L"Cannot create a file when that file already exists. "},
    {193, L"%1 is not a valid Win32 application. "},
    {206, L"The filename or extension is too long. "},
    {234, L"More data is available. "},
    {259, L"No more data is available. "},
    {995, L"The I/O operation has been aborted because of either a thread exit or an application request. "},
    {1117, L"The request could not be performed because of an I/O device error. "},
    {1813, L"The specified resource type cannot be found in the image file. "},
    {1814, L"The specified resource name cannot be found in the image file. "},
    {1921, L"The name of the file cannot be resolved by the system. "},
    {0x80004001, L"Not implemented "},
    {0x80004002, L"No such interface supported "},
    {0x80004005, L"Unspecified error "},
    {0x8007000E, L"Not enough memory resources are available to complete this operation. "},
    {0x80070057, L"The parameter is incorrect. "},
};

static_assert(std::is_sorted(std::begin(kMessages), std::end(kMessages),
                  [](const SystemMessage& a, const SystemMessage& b) { return a.code < b.code; }),
    "the messages are looked up by binary search");

} // namespace

std::uint32_t LastSystemError() { return g_lastError; }

void SetLastSystemError(std::uint32_t code) { g_lastError = code; }

std::optional<std::wstring> SystemMessageText(std::uint32_t code)
{
    const auto* const found = std::lower_bound(std::begin(kMessages), std::end(kMessages), code,
        [](const SystemMessage& m, std::uint32_t c) { return m.code < c; });
    if (found == std::end(kMessages) || found->code != code)
        return std::nullopt;
    return found->text;
}

} // namespace kw
