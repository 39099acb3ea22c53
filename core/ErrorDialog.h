#pragma once
// The error report dialog, and whether a window is alive to own it.
#include <string>

namespace kw {

using WindowHandle = void*;

bool IsLiveWindow(WindowHandle window);

// Shows the error modally with its short text and its details. Where no window can be shown
// (POSIX, or Windows without a desktop) the details go to the standard error stream instead.
void ShowErrorDialog(
    WindowHandle owner, const std::wstring& title, const std::wstring& shortText, const std::wstring& detailText);

} // namespace kw
