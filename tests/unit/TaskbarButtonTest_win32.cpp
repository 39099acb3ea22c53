#include <gtest/gtest.h>

#include <windows.h>

#include <thread>
#include <utility>

#include "ConsoleCapture.h"
#include "os/Com.h"
#include "ui/ConsoleProgressSink.h"
#include "ui/TaskbarButton.h"

namespace kw {
namespace {

using State = TaskbarState;

// A window that needs no display (the tests run without one): a message-only window, whose
// button the taskbar list is asked about like any other window's.
class MessageWindow {
public:
    MessageWindow()
        : window_(CreateWindowExW(0, L"STATIC", L"taskbar", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr))
    {
    }
    ~MessageWindow()
    {
        if (window_ != nullptr)
            DestroyWindow(window_);
    }
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;

    HWND Handle() const { return window_; }

private:
    HWND window_;
};

TEST(TaskbarButton, TheTaskbarListTakesEveryStateAndValueTheSinkWorksOut)
{
    const ComApartment com;
    ASSERT_TRUE(com.Initialised());
    const MessageWindow window;
    ASSERT_NE(window.Handle(), nullptr);
    TaskbarButton button(window.Handle());
    ASSERT_TRUE(button.Exists());

    ConsoleCapture console;
    ConsoleProgressSink sink(true, std::move(button));
    const auto taken = [&](State state, std::uint64_t completed, std::uint64_t total) {
        const TaskbarProgress expected{state, completed, total};
        return sink.Taskbar() == expected && sink.Button().Shown() == expected;
    };

    // The sink works out each state (its own tests); the button must show every one of them.
    sink.SetTotal(2, false);
    sink.BeginStep(0, 500, L"");
    sink.AdvanceSubStep(250);
    EXPECT_TRUE(taken(State::NoProgress, 500, 2000));
    sink.BeginStep(0, -1, L"");
    EXPECT_TRUE(taken(State::Indeterminate, 500, 2000));
    // The detection manager reports a finished step from its worker threads.
    std::thread([&] { sink.StepDone(0); }).join();
    EXPECT_TRUE(taken(State::Indeterminate, 1000, 2000));
    sink.Finished(L"The detection failed.", 1);
    EXPECT_TRUE(taken(State::Error, 1000, 2000));
    sink.Finished(L"", 0);
    EXPECT_TRUE(taken(State::NoProgress, 1000, 2000));
}

TEST(TaskbarButton, NoButtonWithoutComOrWithoutAConsoleWindow)
{
    const MessageWindow window;
    ASSERT_NE(window.Handle(), nullptr);
    // A thread that never initialised COM cannot create the taskbar list.
    TaskbarButton button;
    std::thread([&] { button = TaskbarButton(window.Handle()); }).join();
    EXPECT_FALSE(button.Exists());

    ConsoleCapture console;
    ConsoleProgressSink sink(true, std::move(button));
    sink.SetTotal(1, false);
    sink.StepDone(0);
    sink.Finished(L"The detection failed.", 1);
    EXPECT_EQ(sink.Taskbar(), (TaskbarProgress{State::Error, 1000, 1000}));
    EXPECT_EQ(sink.Button().Shown(), TaskbarProgress{});

    // With COM, the console window decides: the button exists exactly when the window does.
    const ComApartment com;
    EXPECT_EQ(TaskbarButton::OfConsoleWindow().Exists(), GetConsoleWindow() != nullptr);
}

} // namespace
} // namespace kw
