#include "msicomp/posix/HandleTable.h"

#include <utility>

namespace kw::msishim {

MSIHANDLE HandleTable::Add(const std::shared_ptr<HandleObject>& object)
{
    // Numbers are taken in turn from one counter, so a closed number returns only after the
    // whole range has gone round; one still open is passed over.
    for (std::uint64_t attempt = 0; attempt < last_; ++attempt) {
        const auto handle = static_cast<MSIHANDLE>(issued_.fetch_add(1) % last_ + 1);
        Shard& shard = ShardOf(handle);
        const std::lock_guard<std::mutex> guard(shard.lock);
        if (shard.objects.try_emplace(handle, object).second)
            return handle;
    }
    return 0;
}

std::shared_ptr<HandleObject> HandleTable::Find(MSIHANDLE handle, HandleKind kind) const
{
    const Shard& shard = ShardOf(handle);
    const std::lock_guard<std::mutex> guard(shard.lock);
    const auto found = shard.objects.find(handle);
    if (found == shard.objects.end() || found->second->Kind() != kind)
        return nullptr;
    return found->second;
}

std::shared_ptr<HandleObject> HandleTable::Remove(MSIHANDLE handle)
{
    Shard& shard = ShardOf(handle);
    const std::lock_guard<std::mutex> guard(shard.lock);
    const auto found = shard.objects.find(handle);
    if (found == shard.objects.end())
        return nullptr;
    std::shared_ptr<HandleObject> object = std::move(found->second);
    shard.objects.erase(found);
    object->closed_.store(true, std::memory_order_release);
    return object;
}

} // namespace kw::msishim
