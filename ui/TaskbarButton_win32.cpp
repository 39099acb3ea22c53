// The taskbar button on Windows: the taskbar list (ITaskbarList3) of the shell, created
// in-process for one window. It is made on the thread that makes the button, which must have
// initialised COM, and then called from whichever thread reports progress, one call at a time.
#include <windows.h>

#include <objbase.h>
#include <shobjidl.h>

#include <utility>

#include "os/OsVersion.h"
#include "os/win32/Handles_win32.h"
#include "ui/TaskbarButton.h"

namespace kw {

namespace {

static_assert(static_cast<TBPFLAG>(TaskbarState::NoProgress) == TBPF_NOPROGRESS);
static_assert(static_cast<TBPFLAG>(TaskbarState::Indeterminate) == TBPF_INDETERMINATE);
static_assert(static_cast<TBPFLAG>(TaskbarState::Normal) == TBPF_NORMAL);
static_assert(static_cast<TBPFLAG>(TaskbarState::Error) == TBPF_ERROR);
static_assert(static_cast<TBPFLAG>(TaskbarState::Paused) == TBPF_PAUSED);

} // namespace

struct TaskbarButton::Native {
    HWND window;
    ComOwner<ITaskbarList3> list;
};

void TaskbarButton::NativeDeleter::operator()(Native* native) const { delete native; }

TaskbarButton::NativeOwner TaskbarButton::CreateNative(void* window)
{
    // The taskbar list draws progress on buttons from version 6.1 on.
    if (!GetOsVersion().AtLeast(6, 1))
        return nullptr;
    ComOwner<ITaskbarList3> list;
    if (FAILED(CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskbarList3,
            reinterpret_cast<void**>(list.Put()))) ||
        !list || FAILED(list.Get()->HrInit()))
        return nullptr;
    return NativeOwner(new Native{static_cast<HWND>(window), std::move(list)});
}

bool TaskbarButton::SendState(Native& native, TaskbarState state)
{
    return SUCCEEDED(native.list.Get()->SetProgressState(native.window, static_cast<TBPFLAG>(state)));
}

bool TaskbarButton::SendValue(Native& native, std::uint64_t completed, std::uint64_t total)
{
    return SUCCEEDED(native.list.Get()->SetProgressValue(native.window, completed, total));
}

void* TaskbarButton::ConsoleWindow() { return GetConsoleWindow(); }

} // namespace kw
