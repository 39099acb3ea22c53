#include <windows.h>

#include "os/Threads.h"

namespace kw {

struct NamedMutex::State {
    HANDLE handle;
    bool owned = false;
};

NamedMutex::NamedMutex(std::unique_ptr<State> state) : state_(std::move(state)) { }

NamedMutex::~NamedMutex() { CloseHandle(state_->handle); }

std::unique_ptr<NamedMutex> NamedMutex::Create(const std::wstring& name)
{
    const HANDLE handle = CreateMutexW(nullptr, FALSE, name.c_str());
    if (handle == nullptr)
        return nullptr;
    return std::unique_ptr<NamedMutex>(new NamedMutex(std::make_unique<State>(State{handle})));
}

std::unique_ptr<NamedMutex> NamedMutex::Open(const std::wstring& name, unsigned long access)
{
    const HANDLE handle = OpenMutexW(access, FALSE, name.c_str());
    if (handle == nullptr)
        return nullptr;
    return std::unique_ptr<NamedMutex>(new NamedMutex(std::make_unique<State>(State{handle})));
}

bool NamedMutex::Wait()
{
    state_->owned = WaitForSingleObject(state_->handle, INFINITE) == WAIT_OBJECT_0;
    return state_->owned;
}

void NamedMutex::Release()
{
    if (state_->owned)
        ReleaseMutex(state_->handle);
    state_->owned = false;
}

int WorkersWhenUnset() { return 0; }

} // namespace kw
