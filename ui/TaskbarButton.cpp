#include "ui/TaskbarButton.h"

namespace kw {

TaskbarButton::TaskbarButton() = default;

TaskbarButton::TaskbarButton(void* window) : native_(window != nullptr ? CreateNative(window) : nullptr) { }

TaskbarButton TaskbarButton::OfConsoleWindow() { return TaskbarButton(ConsoleWindow()); }

bool TaskbarButton::SetState(TaskbarState state)
{
    if (native_ == nullptr || !SendState(*native_, state))
        return false;
    shown_.state = state;
    return true;
}

bool TaskbarButton::SetValue(std::uint64_t completed, std::uint64_t total)
{
    if (native_ == nullptr || !SendValue(*native_, completed, total))
        return false;
    shown_.completed = completed;
    shown_.total = total;
    return true;
}

} // namespace kw
