#include <windows.h>

#include <commctrl.h>
#include <prsht.h>

#include "ui/Wizard.h"

namespace kw {

namespace {

constexpr const wchar_t* kTitle = L"Kitewright Conflicts Detector";

// A page template built in memory: no menu, the default class, no title; wizard-page size.
struct alignas(4) PageTemplate {
    DLGTEMPLATE dialog;
    WORD menu;
    WORD windowClass;
    WORD title;
};

INT_PTR CALLBACK PageProc(HWND page, UINT message, WPARAM, LPARAM lParam)
{
    if (message == WM_NOTIFY && reinterpret_cast<NMHDR*>(lParam)->code == PSN_SETACTIVE) {
        PropSheet_SetWizButtons(GetParent(page), PSWIZB_FINISH);
        return TRUE;
    }
    return FALSE;
}

} // namespace

// The wizard's pages come with the detection manager; until then it is one page that ends it.
std::optional<std::uint32_t> RunWizard(OptionMap&)
{
    PageTemplate page{};
    page.dialog.style = WS_CHILD | WS_DISABLED | WS_CAPTION | DS_3DLOOK | DS_CONTROL;
    page.dialog.cx = 317;
    page.dialog.cy = 143;

    PROPSHEETPAGEW pageSpec{};
    pageSpec.dwSize = sizeof pageSpec;
    pageSpec.dwFlags = PSP_DLGINDIRECT | PSP_HIDEHEADER;
    pageSpec.hInstance = GetModuleHandleW(nullptr);
    pageSpec.pResource = &page.dialog;
    pageSpec.pfnDlgProc = PageProc;
    HPROPSHEETPAGE pages[] = {CreatePropertySheetPageW(&pageSpec)};
    if (pages[0] == nullptr)
        return 0;

    PROPSHEETHEADERW sheet{};
    sheet.dwSize = sizeof sheet;
    // The Aero wizard style is drawn as a plain sheet where it is not supported; Wizard97 is
    // drawn alike everywhere.
    sheet.dwFlags = PSH_WIZARD97;
    sheet.hInstance = GetModuleHandleW(nullptr);
    sheet.pszCaption = kTitle;
    sheet.nPages = 1;
    sheet.phpage = pages;
    PropertySheetW(&sheet);
    return 0;
}

} // namespace kw
