#include "src/ConflictsDetectorManager.h"

namespace kw {

ConflictsDetectorManager::ConflictsDetectorManager(const OptionMap& options, ProgressSink& sink)
    : options_(options), sink_(sink)
{
}

// The rules and the repository are not part of this program yet: a run examines no pair and
// reports nothing.
std::uint32_t ConflictsDetectorManager::Run() { return 0; }

} // namespace kw
