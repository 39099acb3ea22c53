#include "core/ErrorDialog.h"

#include "os/Console.h"

namespace kw {

// POSIX has no windows.
bool IsLiveWindow(WindowHandle) { return false; }

void ShowErrorDialog(WindowHandle, const std::wstring&, const std::wstring&, const std::wstring& detailText)
{
    WriteStandardError(detailText + L"\n");
}

} // namespace kw
