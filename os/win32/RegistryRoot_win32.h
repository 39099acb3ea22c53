#pragma once
// The Windows root key of a registry root.
#include <windows.h>

#include "os/Registry.h"

namespace kw {

// Null for RegistryRoot::None.
HKEY ToRootKey(RegistryRoot root);

} // namespace kw
