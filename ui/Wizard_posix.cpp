#include "ui/Wizard.h"

namespace kw {

// The wizard is a Windows property sheet; elsewhere the program runs in the console only.
std::optional<std::uint32_t> RunWizard(OptionMap&) { return std::nullopt; }

} // namespace kw
