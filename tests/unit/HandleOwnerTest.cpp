#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "util/HandleOwner.h"

namespace kw {
namespace {

// Handles are numbers, "none" is -1 (as for file descriptors), and every close is recorded.
std::vector<int> g_closed;

struct RecordedKind {
    using Handle = int;
    static int Empty() { return -1; }
    static void Close(int handle) { g_closed.push_back(handle); }
};
using Owner = HandleOwner<RecordedKind>;

TEST(HandleOwner, ClosesEachHandleOnceAndNeverTheEmptyOne)
{
    g_closed.clear();
    {
        const Owner none;
        Owner zero(0); // 0 is a handle like any other for this kind
        Owner moved(std::move(zero));
        Owner target(1);
        target = std::move(moved); // closes 1, takes 0
        int* out = target.Put(); // closes 0
        *out = 2;
        Owner given(3);
        EXPECT_EQ(given.Release(), 3);
        EXPECT_FALSE(given);
        given.Reset(4);
        given.Reset(5); // closes 4
        EXPECT_EQ(target.Get(), 2);
    } // closes 5, then 2
    EXPECT_EQ(g_closed, (std::vector<int>{1, 0, 4, 5, 2}));
}

} // namespace
} // namespace kw
