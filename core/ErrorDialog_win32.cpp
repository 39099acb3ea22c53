#include <windows.h>

#include "core/ErrorDialog.h"
#include "os/Console.h"

namespace kw {

bool IsLiveWindow(WindowHandle window) { return window != nullptr && IsWindow(static_cast<HWND>(window)); }

// A plain message box with the whole text; the dialog with collapsible details, Copy and
// Send replaces it.
void ShowErrorDialog(
    WindowHandle owner, const std::wstring& title, const std::wstring& shortText, const std::wstring& detailText)
{
    const std::wstring& text = detailText.empty() ? shortText : detailText;
    UINT style = MB_OK | MB_ICONERROR;
    if (owner == nullptr)
        style |= MB_TASKMODAL | MB_SETFOREGROUND;
    // Without a desktop to show it on (a service, a headless build machine) the box cannot
    // open; the error then goes to the standard error stream so that it is not lost.
    if (MessageBoxW(static_cast<HWND>(owner), text.c_str(), title.c_str(), style) <= 0)
        WriteStandardError(text + L"\n");
}

} // namespace kw
