#include <windows.h>

#include <commctrl.h>
#include <uxtheme.h>

#include "ui/Windowing.h"

namespace kw {

void InitialiseCommonControls()
{
    INITCOMMONCONTROLSEX controls{};
    controls.dwSize = sizeof controls;
    // Bar, internet, page-scroller, native-font and standard classes.
    controls.dwICC =
        ICC_BAR_CLASSES | ICC_INTERNET_CLASSES | ICC_PAGESCROLLER_CLASS | ICC_NATIVEFNTCTL_CLASS | ICC_STANDARD_CLASSES;
    InitCommonControlsEx(&controls);
}

// The themed panes paint through buffered painting, which needs its start-up per thread.
std::int32_t InitialiseWindowing() { return BufferedPaintInit(); }

void ShutDownWindowing() { BufferedPaintUnInit(); }

} // namespace kw
