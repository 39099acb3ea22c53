#pragma once
// The process-wide table behind the shim's handles: 32-bit numbers, 0 = none, shared by all
// threads. A number is handed out again only after every other number of the range has been,
// and never while its object is still open, so that a stale handle is refused instead of
// silently reaching another object: with the full 32-bit range that is four billion handles
// later. Closing takes the object out of the table at once; a call already using it (only a
// misuse across threads could do that) keeps it alive until it returns.
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "msicomp/posix/MsiShim.h"

namespace kw::msishim {

enum class HandleKind { Database, View, Record, SummaryInformation };

class HandleObject {
public:
    explicit HandleObject(HandleKind kind) : kind_(kind) { }
    virtual ~HandleObject() = default;
    HandleObject(const HandleObject&) = delete;
    HandleObject& operator=(const HandleObject&) = delete;

    HandleKind Kind() const { return kind_; }
    // Whether its handle has been closed: set when the table lets it go.
    bool Closed() const { return closed_.load(std::memory_order_acquire); }

private:
    friend class HandleTable;
    HandleKind kind_;
    std::atomic<bool> closed_{false};
};

class HandleTable {
public:
    // Numbers run from 1 to `last` and then start again at 1; tests give a small range.
    explicit HandleTable(MSIHANDLE last = UINT32_MAX) : last_(last) { }

    // A new number for the object; 0 only when every number of the range is in use.
    MSIHANDLE Add(const std::shared_ptr<HandleObject>& object);

    // The object of an open handle of this kind, else null.
    std::shared_ptr<HandleObject> Find(MSIHANDLE handle, HandleKind kind) const;
    template <class T> std::shared_ptr<T> Find(MSIHANDLE handle) const
    {
        return std::static_pointer_cast<T>(Find(handle, T::kKind));
    }

    // Takes the handle out of the table and hands its object back, so that the caller ends it
    // outside the table's locks; null when the handle is not open.
    std::shared_ptr<HandleObject> Remove(MSIHANDLE handle);

private:
    // Threads work on different handles at once: one lock per shard keeps them from waiting
    // on each other.
    static constexpr unsigned kShardCount = 16;
    struct Shard {
        mutable std::mutex lock;
        std::unordered_map<MSIHANDLE, std::shared_ptr<HandleObject>> objects;
    };

    Shard& ShardOf(MSIHANDLE handle) { return shards_[handle % kShardCount]; }
    const Shard& ShardOf(MSIHANDLE handle) const { return shards_[handle % kShardCount]; }

    const MSIHANDLE last_;
    std::atomic<std::uint64_t> issued_{0};
    std::array<Shard, kShardCount> shards_;
};

} // namespace kw::msishim
