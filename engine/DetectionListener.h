#pragma once
// What a detection run tells whoever shows or records it, as data: the console's lines, the
// wizard's pages and report files are all made from these events.
#include <cstdint>
#include <exception>
#include <string>

#include "rules/ConflictFinding.h"

namespace kw {

// One repository package to compare with the package under test.
struct DetectionTask {
    std::wstring repositoryPackage; // its path
    std::wstring productName; // read by the worker that opens the package for its rules
    std::uint32_t index = 0; // the order the tasks were made in
};

struct DetectionSummary {
    std::uint32_t packages = 0; // in the repository
    std::uint32_t findings = 0; // of every package examined
    std::uint32_t result = 0; // 0, or 1 when the run or a package failed
    std::exception_ptr error{}; // what ended the run, when something did
};

// Events come in this order: RunStarted; for each package examined PackageStarted, then
// PackageDone or PackageFailed; RunFinished. The package events come from worker threads,
// one at a time (the manager holds its report lock), in the order the workers reach them;
// the run events from the thread that runs the manager.
class DetectionListener {
public:
    virtual ~DetectionListener() = default;
    // The folder the packages come from and how many it holds (none: RunFinished follows).
    virtual void RunStarted(const std::wstring& folder, std::uint32_t packages) = 0;
    virtual void PackageStarted(const DetectionTask& task) = 0;
    // Every finding of the package, CR1's first, each rule's in the order the rule made them.
    virtual void PackageDone(const DetectionTask& task, const FindingList& findings) = 0;
    // The package's examination ended with `error` (any exception, as thrown); the run goes on
    // with the next package.
    virtual void PackageFailed(const DetectionTask& task, const std::exception_ptr& error) = 0;
    virtual void RunFinished(const DetectionSummary& summary) = 0;
};

} // namespace kw
