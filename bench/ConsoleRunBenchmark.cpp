// Times a whole console run of the real program against its floor: the same packages opened
// and the same tables read, on as many threads, with no rule run and nothing printed.
//
//   kw_console_run_benchmark [--runs N] FOLDER...
//
// Each FOLDER is a repository made by generate-repository (under-test.msi, repository/). The
// program is the ConflictsDetector beside this one, run as
//   ConflictsDetector /NoUI /Msi FOLDER/under-test.msi /MsiRepo FOLDER/repository
// with its output in a temporary file. Both sides use the worker count the program would
// (NUMBER_OF_PROCESSORS, else the processor count). One untimed floor pass first brings the
// packages into the file cache; then each side runs N times (3 unless told) alternately, and
// the median of each is reported.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "engine/DetectionRequest.h"
#include "os/Module.h"
#include "repository/PackageRepository.h"
#include "rules/RulePackage.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// Everything a run reads of a package: its name, its codes and every row set the rules use.
void ReadTables(RulePackage& package)
{
    package.Name();
    package.Codes();
    for (int set = 0; set < static_cast<int>(RowSet::Count); ++set)
        package.Rows(static_cast<RowSet>(set));
}

double Floor(const std::string& folder, int workers)
{
    const Clock::time_point start = Clock::now();
    RulePackage underTest(FromUtf8(folder + "/under-test.msi"));
    ReadTables(underTest);
    std::vector<std::wstring> files;
    ListFiles(FromUtf8(folder + "/repository"), L"*.msi", files, 10);
    std::atomic<size_t> next{0};
    std::vector<std::thread> threads;
    threads.reserve(static_cast<size_t>(workers));
    for (int k = 0; k < workers; ++k) {
        threads.emplace_back([&] {
            for (size_t i = next++; i < files.size(); i = next++) {
                RulePackage package(files[i]);
                ReadTables(package);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    return SecondsSince(start);
}

struct ConsoleRun {
    double seconds = 0;
    int exitCode = -1;
    size_t findings = 0;
};

ConsoleRun RunProgram(const std::string& folder)
{
    const std::string program = ToUtf8(ExecutableFolder()) + "ConflictsDetector";
    const std::string underTest = folder + "/under-test.msi";
    const std::string repository = folder + "/repository";
    char output[] = "/tmp/kw-console-run-XXXXXX";
    const int outputFile = mkstemp(output);
    if (outputFile < 0) {
        std::perror("mkstemp");
        std::exit(1);
    }
    std::vector<std::string> arguments = {program, "/NoUI", "/Msi", underTest, "/MsiRepo", repository};
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, outputFile, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, outputFile, STDERR_FILENO);

    ConsoleRun run;
    const Clock::time_point start = Clock::now();
    pid_t child = 0;
    int status = 0;
    if (posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ) == 0 &&
        waitpid(child, &status, 0) == child) {
        run.seconds = SecondsSince(start);
        run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    close(outputFile);

    // A finding line: the percentage, the rule id and its full stop.
    const std::regex finding(R"(^\[[ 0-9]{3}%\] CR[0-9]+\. )");
    std::ifstream lines(output);
    for (std::string line; std::getline(lines, line);)
        run.findings += std::regex_search(line, finding) ? 1 : 0;
    std::remove(output);
    return run;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

int Main(int argc, char** argv)
{
    int runs = 3;
    std::vector<std::string> folders;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--runs" && i + 1 < argc)
            runs = std::max(1, std::atoi(argv[++i]));
        else
            folders.push_back(argument);
    }
    if (folders.empty()) {
        std::fprintf(stderr, "usage: kw_console_run_benchmark [--runs N] FOLDER...\n");
        return 2;
    }
    const int workers = WorkerCount();
    std::printf("%-40s %8s %8s %12s %10s %6s %9s\n", "repository", "packages", "workers", "console run", "floor",
        "ratio", "findings");
    for (const std::string& folder : folders) {
        std::vector<std::wstring> files;
        ListFiles(FromUtf8(folder + "/repository"), L"*.msi", files, 10);
        Floor(folder, workers);
        std::vector<double> programTimes;
        std::vector<double> floorTimes;
        size_t findings = 0;
        for (int k = 0; k < runs; ++k) {
            const ConsoleRun run = RunProgram(folder);
            if (run.exitCode != 0) {
                std::fprintf(stderr, "the console run on %s ended with %d\n", folder.c_str(), run.exitCode);
                return 1;
            }
            programTimes.push_back(run.seconds);
            findings = run.findings;
            floorTimes.push_back(Floor(folder, workers));
        }
        const double program = Median(programTimes);
        const double floorSeconds = Median(floorTimes);
        std::printf("%-40s %8zu %8d %10.3f s %8.3f s %6.2f %9zu\n", folder.c_str(), files.size(), workers, program,
            floorSeconds, program / floorSeconds, findings);
        std::fflush(stdout);
    }
    return 0;
}

} // namespace
} // namespace kw

int main(int argc, char** argv) { return kw::Main(argc, argv); }
