#include "engine/DetectionRequest.h"

#include <cstdint>
#include <cstdlib>

#include "engine/OptionMap.h"
#include "msicomp/apppaths/AppPaths.h"
#include "os/Threads.h"

namespace kw {

DetectionRequest MakeDetectionRequest(const OptionMap& options)
{
    return DetectionRequest{
        .packageUnderTest = options.Get(L"Msi"),
        .repository = ChooseRepository(options.Get(L"MsiRepo")),
        .excludedRules = SplitRuleIds(options.Get(L"ExcludedRules")),
        .mergeModuleFolders = {PathVariable(L"KW_REGISTERED_MSM"), PathVariable(L"KW_VISUAL_STUDIO_MSM")},
        .workers = WorkerCount(),
    };
}

int WorkerCount()
{
    const char* value = std::getenv("NUMBER_OF_PROCESSORS");
    // Read as _wtoi reads it: leading digits, else 0; only the low 16 bits count.
    const long count = value != nullptr ? std::strtol(value, nullptr, 10) : WorkersWhenUnset();
    return static_cast<std::int16_t>(count & 0xFFFF);
}

} // namespace kw
