#include "ui/Windowing.h"

namespace kw {

void InitialiseCommonControls() { }
std::int32_t InitialiseWindowing() { return 0; }
void ShutDownWindowing() { }

} // namespace kw
