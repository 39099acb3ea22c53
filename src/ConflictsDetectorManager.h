#pragma once
// The detection run: pairs the package under test with every package of a repository, runs
// the rule catalogue over each pair on worker threads and reports through a ProgressSink.
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "rules/RuleCatalogue.h"

namespace kw {

class OptionMap;
class ProgressSink;
class MergeModules;

// One repository package to compare with the package under test.
struct DetectionTask {
    std::wstring packageUnderTest;
    std::wstring repositoryPackage;
    std::wstring productName; // read by the worker that opens the package for its rules
    std::uint32_t index = 0; // the order the tasks were made in; the progress step id
};

class ConflictsDetectorManager {
public:
    // `sink` may be null: then nothing is reported.
    ConflictsDetectorManager(const OptionMap& options, ProgressSink* sink);
    ~ConflictsDetectorManager();

    // 0 when the run ended normally, with or without findings; 1 when an exception ended it
    // or a task failed.
    std::uint32_t Run();

    ConflictsDetectorManager(const ConflictsDetectorManager&) = delete;
    ConflictsDetectorManager& operator=(const ConflictsDetectorManager&) = delete;

private:
    std::uint32_t RunDetection();
    void RunWorkers(int count);
    void WorkerLoop();
    DetectionTask* TakeTask();
    void RunTask(DetectionTask& task);
    const RuleCatalogue& FilteredCatalogue();
    void Report(const std::wstring& line);

    const OptionMap& options_;
    ProgressSink* sink_;
    std::mutex reportLock_;
    std::uint32_t findingsTotal_ = 0;
    std::vector<DetectionTask> tasks_;
    std::atomic<size_t> cursor_{0};
    std::once_flag catalogueBuilt_;
    RuleCatalogue catalogue_;
    std::unique_ptr<RulePackage> underTest_;
    std::unique_ptr<MergeModules> modules_;
    std::atomic<bool> taskFailed_{false};
};

// The worker count: the environment's NUMBER_OF_PROCESSORS read as a number (text that is no
// number is 0) cut to its low 16 bits as a signed number; on POSIX, the processor count when
// the variable is not set.
int WorkerCount();

} // namespace kw
