#include <windows.h>

#include "os/Threads.h"
#include "os/win32/Handles_win32.h"

namespace kw {

struct NamedMutex::State {
    KernelObjectOwner handle;
    bool owned = false;
};

NamedMutex::NamedMutex(std::unique_ptr<State> state) : state_(std::move(state)) { }

NamedMutex::~NamedMutex() = default; // the state's owner closes the handle

std::unique_ptr<NamedMutex> NamedMutex::Create(const std::wstring& name)
{
    KernelObjectOwner handle(CreateMutexW(nullptr, FALSE, name.c_str()));
    if (!handle)
        return nullptr;
    return std::unique_ptr<NamedMutex>(new NamedMutex(std::make_unique<State>(State{std::move(handle)})));
}

std::unique_ptr<NamedMutex> NamedMutex::Open(const std::wstring& name, unsigned long access)
{
    KernelObjectOwner handle(OpenMutexW(access, FALSE, name.c_str()));
    if (!handle)
        return nullptr;
    return std::unique_ptr<NamedMutex>(new NamedMutex(std::make_unique<State>(State{std::move(handle)})));
}

bool NamedMutex::Wait()
{
    state_->owned = WaitForSingleObject(state_->handle.Get(), INFINITE) == WAIT_OBJECT_0;
    return state_->owned;
}

void NamedMutex::Release()
{
    if (state_->owned)
        ReleaseMutex(state_->handle.Get());
    state_->owned = false;
}

int WorkersWhenUnset() { return 0; }

} // namespace kw
