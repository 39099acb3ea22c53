#pragma once
// The detection run: compares the package under test with every package of the repository
// and reports through a ProgressSink.
#include <cstdint>

namespace kw {

class OptionMap;
class ProgressSink;

class ConflictsDetectorManager {
public:
    ConflictsDetectorManager(const OptionMap& options, ProgressSink& sink);

    // Runs the detection; 0 when it completed, 995 when it was cancelled, 1 when an exception
    // ended it.
    std::uint32_t Run();

private:
    const OptionMap& options_;
    ProgressSink& sink_;
};

} // namespace kw
