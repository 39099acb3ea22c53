#include <map>
#include <mutex>
#include <thread>

#include "os/Threads.h"

namespace kw {

namespace {

std::mutex g_namesLock;
std::map<std::wstring, std::weak_ptr<std::mutex>> g_names;

} // namespace

struct NamedMutex::State {
    std::shared_ptr<std::mutex> mutex;
    bool owned = false;
};

NamedMutex::NamedMutex(std::unique_ptr<State> state) : state_(std::move(state)) { }

NamedMutex::~NamedMutex() { Release(); }

std::unique_ptr<NamedMutex> NamedMutex::Create(const std::wstring& name)
{
    const std::lock_guard lock(g_namesLock);
    std::shared_ptr<std::mutex> mutex = g_names[name].lock();
    if (!mutex) {
        mutex = std::make_shared<std::mutex>();
        g_names[name] = mutex;
    }
    return std::unique_ptr<NamedMutex>(new NamedMutex(std::make_unique<State>(State{mutex})));
}

std::unique_ptr<NamedMutex> NamedMutex::Open(const std::wstring& name, unsigned long)
{
    const std::lock_guard lock(g_namesLock);
    const auto found = g_names.find(name);
    std::shared_ptr<std::mutex> mutex = found != g_names.end() ? found->second.lock() : nullptr;
    if (!mutex)
        return nullptr;
    return std::unique_ptr<NamedMutex>(new NamedMutex(std::make_unique<State>(State{mutex})));
}

bool NamedMutex::Wait()
{
    state_->mutex->lock();
    state_->owned = true;
    return true;
}

void NamedMutex::Release()
{
    if (state_->owned)
        state_->mutex->unlock();
    state_->owned = false;
}

int WorkersWhenUnset() { return static_cast<int>(std::thread::hardware_concurrency()); }

} // namespace kw
