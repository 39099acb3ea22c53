#pragma once
// What one detection run is asked to do. The console run and the wizard build it from their
// options in one place; the manager only carries it out.
#include <set>
#include <string>
#include <vector>

#include "repository/PackageRepository.h"

namespace kw {

class OptionMap;

struct DetectionRequest {
    std::wstring packageUnderTest{}; // the path as given; empty when none was
    RepositoryFolder repository{};
    std::set<std::wstring> excludedRules{}; // ids as given, matched ignoring case
    std::vector<std::wstring> mergeModuleFolders{}; // searched in this order
    int workers = 0; // below two, no package is examined
};

// The request of options Msi, MsiRepo and ExcludedRules, with the registered merge-module
// folders and the worker count of this machine.
DetectionRequest MakeDetectionRequest(const OptionMap& options);

// The worker count: the environment's NUMBER_OF_PROCESSORS read as a number (text that is no
// number is 0) cut to its low 16 bits as a signed number; on POSIX, the processor count when
// the variable is not set.
int WorkerCount();

} // namespace kw
