#pragma once
// The window system's start-up: common controls and the windowing module that the program's
// own controls draw with. Nothing to do where the program has no windows.
#include <cstdint>

namespace kw {

void InitialiseCommonControls();

// An HRESULT: negative when the windowing module cannot start.
std::int32_t InitialiseWindowing();
void ShutDownWindowing();

} // namespace kw
