#pragma once
// The detection run: pairs the package under test with every package of a repository, runs
// the rule catalogue over each pair on worker threads and tells a DetectionListener.
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "engine/DetectionListener.h"
#include "engine/DetectionRequest.h"
#include "rules/MergeModules.h"
#include "rules/RuleCatalogue.h"

namespace kw {

class ConflictsDetectorManager {
public:
    explicit ConflictsDetectorManager(DetectionListener& listener) : listener_(listener) { }

    // 0 when the run ended normally, with or without findings; 1 when an exception ended it
    // or a package failed. Throws nothing: a failure reaches the listener.
    std::uint32_t Run(const DetectionRequest& request);
    // Makes the request from the options and runs it; a request that cannot be made (a path
    // variables file that cannot be read, say) ends the run as any other failure does.
    std::uint32_t Run(const OptionMap& options);

    ConflictsDetectorManager(const ConflictsDetectorManager&) = delete;
    ConflictsDetectorManager& operator=(const ConflictsDetectorManager&) = delete;

private:
    // Runs `detection`, whatever ends it, and tells the listener that the run finished.
    std::uint32_t Finish(const std::function<void(DetectionSummary&)>& detection);
    void RunDetection(const DetectionRequest& request, DetectionSummary& summary);
    void RunWorkers(int count);
    void WorkerLoop();
    DetectionTask* TakeTask();
    void RunTask(DetectionTask& task);

    DetectionListener& listener_;
    std::mutex reportLock_;
    std::uint32_t findingsTotal_ = 0;
    std::vector<DetectionTask> tasks_;
    std::atomic<size_t> cursor_{0};
    RuleCatalogue catalogue_;
    std::unique_ptr<RulePackage> underTest_;
    std::unique_ptr<MergeModules> modules_;
    std::atomic<bool> taskFailed_{false};
};

} // namespace kw
