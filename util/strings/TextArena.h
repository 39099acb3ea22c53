#pragma once
// Text kept as long as its arena, at addresses that never move: the values of the tables read
// from a package, each copied once into blocks that grow with the text, without an allocation
// per value. Moving the arena keeps every view of it valid.
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace kw {

class TextArena {
public:
    // A copy of the text in the arena; empty text needs no room.
    std::wstring_view Keep(std::wstring_view text);

private:
    std::vector<std::unique_ptr<wchar_t[]>> blocks_;
    size_t capacity_ = 0; // of the last block
    size_t used_ = 0; // of the last block
};

} // namespace kw
