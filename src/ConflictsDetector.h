#pragma once
// The application object: one per process, on the entry function's stack. It initialises the
// program, reads the command line and runs the wizard or the console run.
#include <cstdint>
#include <string>

#include "os/Com.h"
#include "src/CommandLine.h"

namespace kw {

class ConflictsDetector {
public:
    // Initialises COM for the main thread.
    explicit ConflictsDetector(std::wstring commandLine);
    ~ConflictsDetector();

    // Loads the resource library and starts the window system; throws when it cannot.
    bool Initialise();
    // Parses the command line and runs; the result is the process's exit code.
    std::uint32_t Run();

    ConflictsDetector(const ConflictsDetector&) = delete;
    ConflictsDetector& operator=(const ConflictsDetector&) = delete;

private:
    void SetUpConsole();
    std::uint32_t RunInConsole();

    ComApartment com_;
    std::wstring commandLine_;
    CommandLineParser parser_;
    OptionMap options_;
    bool windowingStarted_ = false;
    bool consoleSetUp_ = false;
};

// The whole program, from an already split command line (without the program path) to the
// exit code: 0 for the wizard and a normal console run, 1 for a rejected command line or a
// console run ended by an exception, -1 when initialisation fails.
int RunProgram(std::wstring_view commandLine);

} // namespace kw
