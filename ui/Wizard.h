#pragma once
// The property-sheet wizard that the program shows when it is started without options.
#include <cstdint>
#include <optional>

namespace kw {

class OptionMap;

// Runs the wizard to its end and answers its result; nothing where the platform has no wizard.
std::optional<std::uint32_t> RunWizard(OptionMap& options);

} // namespace kw
