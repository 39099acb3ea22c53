#pragma once
// The user's home folder on POSIX: $HOME, or the password database's entry when it is unset.
#include <string>

namespace kw {

std::wstring HomeFolder();

} // namespace kw
