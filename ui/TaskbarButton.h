#pragma once
// The taskbar button of a window, on which a long run shows how far it has come: a state
// (no progress, indeterminate, normal, error, paused) and a value out of a total. Windows
// draws it through the taskbar list (ITaskbarList3); POSIX has no taskbar, so there a button
// never exists and every call does nothing.
#include <cstdint>
#include <memory>

namespace kw {

// The progress states, numbered as the taskbar list numbers them (TBPF_*).
enum class TaskbarState : std::uint32_t {
    NoProgress = 0x0,
    Indeterminate = 0x1,
    Normal = 0x2,
    Error = 0x4,
    Paused = 0x8,
};

// A state and a value out of a total, as a button was last given them.
struct TaskbarProgress {
    TaskbarState state = TaskbarState::NoProgress;
    std::uint64_t completed = 0;
    std::uint64_t total = 0;

    bool operator==(const TaskbarProgress&) const = default;
};

class TaskbarButton {
public:
    // No button.
    TaskbarButton();
    // The button of `window` (a window handle on Windows). It exists when a window is given,
    // the system is version 6.1 or later and the taskbar list can be created on the calling
    // thread, which needs COM there; otherwise there is no button.
    explicit TaskbarButton(void* window);
    // The button of the process's console window; none when the process has no console window.
    static TaskbarButton OfConsoleWindow();

    TaskbarButton(TaskbarButton&& other) noexcept = default;
    TaskbarButton& operator=(TaskbarButton&& other) noexcept = default;
    TaskbarButton(const TaskbarButton&) = delete;
    TaskbarButton& operator=(const TaskbarButton&) = delete;

    bool Exists() const { return native_ != nullptr; }

    // Each returns whether the taskbar took the call. Without a button nothing is sent and the
    // answer is false. A refusal changes nothing else: progress on the taskbar is a courtesy,
    // never a reason to stop a run.
    bool SetState(TaskbarState state);
    bool SetValue(std::uint64_t completed, std::uint64_t total);

    // The last state and the last value that the taskbar took.
    const TaskbarProgress& Shown() const { return shown_; }

private:
    // The platform's side: the window and the taskbar list that draws its button.
    struct Native;
    struct NativeDeleter {
        void operator()(Native* native) const;
    };
    using NativeOwner = std::unique_ptr<Native, NativeDeleter>;
    static NativeOwner CreateNative(void* window);
    static bool SendState(Native& native, TaskbarState state);
    static bool SendValue(Native& native, std::uint64_t completed, std::uint64_t total);
    static void* ConsoleWindow();

    NativeOwner native_;
    TaskbarProgress shown_;
};

} // namespace kw
