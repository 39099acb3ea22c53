#pragma once
// Numbered texts: every user-visible text of the program but a few console literals comes
// from the resource library beside the executable, by id.
#include <cstddef>
#include <string>

namespace kw {

// Loads the resource library beside the executable, once per process. False when it cannot
// be loaded; the system error then says why.
bool LoadResourceLibrary();

// The text with this id; empty when there is none or no library is loaded.
std::wstring LoadText(unsigned id);

// The text as it would be read into a buffer of `capacity` characters, terminator included:
// longer texts are cut to capacity - 1 characters.
std::wstring LoadText(unsigned id, std::size_t capacity);

} // namespace kw
