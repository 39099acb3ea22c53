// POSIX has no taskbar: no window ever has a button, so every call of a button does nothing.
#include "ui/TaskbarButton.h"

namespace kw {

struct TaskbarButton::Native { };

void TaskbarButton::NativeDeleter::operator()(Native* native) const { delete native; }

TaskbarButton::NativeOwner TaskbarButton::CreateNative(void*) { return nullptr; }

bool TaskbarButton::SendState(Native&, TaskbarState) { return false; }

bool TaskbarButton::SendValue(Native&, std::uint64_t, std::uint64_t) { return false; }

void* TaskbarButton::ConsoleWindow() { return nullptr; }

} // namespace kw
