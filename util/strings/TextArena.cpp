#include "util/strings/TextArena.h"

#include <algorithm>

namespace kw {

namespace {

// Blocks start small, for the many tables of a few rows, and double up to this size.
constexpr size_t kFirstBlock = 256;
constexpr size_t kLargestBlock = size_t{64} * 1024;

} // namespace

std::wstring_view TextArena::Keep(std::wstring_view text)
{
    if (text.empty())
        return {};
    if (capacity_ - used_ < text.size()) {
        // A text larger than a block gets a block of its own size.
        capacity_ = std::max(text.size(), std::min(capacity_ == 0 ? kFirstBlock : capacity_ * 2, kLargestBlock));
        blocks_.push_back(std::make_unique_for_overwrite<wchar_t[]>(capacity_));
        used_ = 0;
    }
    wchar_t* kept = blocks_.back().get() + used_;
    std::copy(text.begin(), text.end(), kept);
    used_ += text.size();
    return {kept, text.size()};
}

} // namespace kw
