// Times a whole console run of the real program against two floors: the same packages opened
// and the same tables read, on as many threads, with no rule run and nothing printed.
//
//   kw_console_run_benchmark [--runs N] [--workers N] FOLDER...
//
// Each FOLDER is a repository made by generate-repository (under-test.msi, repository/). The
// three sides, each timed from start to end:
//   console run       the ConflictsDetector beside this one, run as
//                       ConflictsDetector /NoUI /Msi FOLDER/under-test.msi /MsiRepo FOLDER/repository
//                     with its output in a temporary file;
//   honest floor      kw_plain_read_floor beside this one, which reads the packages with libmsi
//                     alone, in its own process like the console run;
//   in-process floor  the program's own reading code (RulePackage) run here, which shares
//                     whatever that code costs with the console run and so hides it.
// All use the same worker count: --workers N (given to the console run as NUMBER_OF_PROCESSORS),
// else the count the program would use (NUMBER_OF_PROCESSORS, else the processor count). One
// untimed pass of every side first brings the packages into the file cache and pays each side's
// first-use costs; then the sides run N times (3 unless told) alternately, and the median time of
// each and the median peak resident memory of the two processes are reported. The load average
// is printed at the start and the end, since a loaded machine stretches every time.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
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

double InProcessFloor(const std::string& folder, int workers)
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

// The in-process floor in a child process of its own, so that nothing it leaves in this
// process's memory is counted in the peak memory of the processes started after it (see Spawn).
// This process starts no thread of its own, so the child may do anything.
double InProcessFloorApart(const std::string& folder, int workers)
{
    int channel[2];
    if (pipe(channel) != 0) {
        std::perror("pipe");
        std::exit(1);
    }
    const pid_t child = fork();
    if (child == 0) {
        close(channel[0]);
        const double seconds = InProcessFloor(folder, workers);
        _exit(write(channel[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
    }
    close(channel[1]);
    double seconds = -1;
    if (child < 0 || read(channel[0], &seconds, sizeof seconds) != sizeof seconds)
        seconds = -1;
    close(channel[0]);
    int status = 0;
    if (child > 0)
        waitpid(child, &status, 0);
    return seconds;
}

struct Spawned {
    double seconds = 0;
    int exitCode = -1;
    long peakKiB = 0;
    std::deque<std::string> lastLines; // to tell why a run failed
};

// Runs a program to its end with its standard and error output in a temporary file, times it,
// and hands each line of its output to the reader.
Spawned Spawn(std::vector<std::string> arguments, const std::vector<std::string>& setting,
    const std::function<void(const std::string&)>& reader)
{
    char output[] = "/tmp/kw-console-run-XXXXXX";
    const int outputFile = mkstemp(output);
    if (outputFile < 0) {
        std::perror("mkstemp");
        std::exit(1);
    }
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    // The environment as it is, but for the variables set here.
    std::vector<std::string> environment;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string entry = *variable;
        const bool replaced = std::any_of(setting.begin(), setting.end(), [&](const std::string& set) {
            return entry.compare(0, set.find('=') + 1, set, 0, set.find('=') + 1) == 0;
        });
        if (!replaced)
            environment.push_back(entry);
    }
    environment.insert(environment.end(), setting.begin(), setting.end());
    std::vector<char*> envp;
    envp.reserve(environment.size() + 1);
    for (std::string& entry : environment)
        envp.push_back(entry.data());
    envp.push_back(nullptr);

    // Forked, not spawned: a process keeps the peak resident memory of the image it replaced as
    // its own, and posix_spawn's child replaces this process's image, with the largest it ever
    // was. A forked child replaces a copy of what is resident now, which stays small because
    // this process reads no package itself (InProcessFloorApart).
    Spawned run;
    const Clock::time_point start = Clock::now();
    const pid_t child = fork();
    if (child == 0) {
        const int input = open("/dev/null", O_RDONLY);
        if (input < 0 || dup2(input, STDIN_FILENO) < 0 || dup2(outputFile, STDOUT_FILENO) < 0 ||
            dup2(outputFile, STDERR_FILENO) < 0)
            _exit(127);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (child > 0 && wait4(child, &status, 0, &usage) == child) {
        run.seconds = SecondsSince(start);
        run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        run.peakKiB = usage.ru_maxrss; // kibibytes on Linux
    }
    close(outputFile);
    std::ifstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        reader(line);
        run.lastLines.push_back(line);
        if (run.lastLines.size() > 10)
            run.lastLines.pop_front();
    }
    std::remove(output);
    return run;
}

struct ConsoleRun {
    Spawned spawned;
    size_t findings = 0;
};

ConsoleRun RunProgram(const std::string& folder, int workers)
{
    // A finding line: the percentage, the rule id and its full stop.
    const std::regex finding(R"(^\[[ 0-9]{3}%\] CR[0-9]+\. )");
    ConsoleRun run;
    run.spawned = Spawn({ToUtf8(ExecutableFolder()) + "ConflictsDetector", "/NoUI", "/Msi", folder + "/under-test.msi",
                            "/MsiRepo", folder + "/repository"},
        {"NUMBER_OF_PROCESSORS=" + std::to_string(workers)},
        [&](const std::string& line) { run.findings += std::regex_search(line, finding) ? 1 : 0; });
    return run;
}

struct FloorRun {
    Spawned spawned;
    size_t packages = 0; // the package under test among them
};

FloorRun HonestFloor(const std::string& folder, int workers)
{
    FloorRun run;
    run.spawned = Spawn({ToUtf8(ExecutableFolder()) + "kw_plain_read_floor", "--workers", std::to_string(workers),
                            folder + "/under-test.msi", folder + "/repository"},
        {}, [&](const std::string& line) {
            if (line.find(" packages read, ") != std::string::npos)
                run.packages = std::strtoul(line.c_str(), nullptr, 10);
        });
    return run;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double Median(const std::vector<long>& values)
{
    std::vector<double> asDouble(values.begin(), values.end());
    return Median(asDouble);
}

void PrintLoadAverage(const char* when)
{
    std::ifstream file("/proc/loadavg");
    std::string one, five, fifteen;
    file >> one >> five >> fifteen;
    std::printf("load average %s: %s %s %s\n", when, one.c_str(), five.c_str(), fifteen.c_str());
    std::fflush(stdout);
}

// Reports a side that failed, with the end of what it wrote.
bool Failed(const char* side, const std::string& folder, const Spawned& run)
{
    if (run.exitCode == 0)
        return false;
    std::fprintf(stderr, "the %s on %s ended with %d:\n", side, folder.c_str(), run.exitCode);
    for (const std::string& line : run.lastLines)
        std::fprintf(stderr, "  %s\n", line.c_str());
    return true;
}

int Main(int argc, char** argv)
{
    int runs = 3;
    int workers = WorkerCount();
    std::vector<std::string> folders;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--runs" && i + 1 < argc)
            runs = std::max(1, std::atoi(argv[++i]));
        else if (argument == "--workers" && i + 1 < argc)
            workers = std::atoi(argv[++i]);
        else
            folders.push_back(argument);
    }
    if (folders.empty()) {
        std::fprintf(stderr, "usage: kw_console_run_benchmark [--runs N] [--workers N] FOLDER...\n");
        return 2;
    }
    // With fewer than two workers the program examines no pair, and there is nothing to time.
    if (workers < 2) {
        std::fprintf(stderr, "kw_console_run_benchmark: %d workers; the program needs at least two\n", workers);
        return 2;
    }
    PrintLoadAverage("at the start");
    std::printf("%-32s %8s %7s %10s %10s %10s %7s %7s %8s %11s %11s\n", "repository", "packages", "workers", "console",
        "honest", "in-process", "c/hon", "c/in", "findings", "console MiB", "honest MiB");
    for (const std::string& folder : folders) {
        std::vector<std::wstring> files;
        ListFiles(FromUtf8(folder + "/repository"), L"*.msi", files, 10);
        std::vector<double> programTimes, honestTimes, inProcessTimes;
        std::vector<long> programPeaks, honestPeaks;
        size_t findings = 0;
        // Pass 0 is the warm-up.
        for (int k = 0; k <= runs; ++k) {
            const ConsoleRun run = RunProgram(folder, workers);
            if (Failed("console run", folder, run.spawned))
                return 1;
            const FloorRun honest = HonestFloor(folder, workers);
            if (Failed("honest floor", folder, honest.spawned))
                return 1;
            if (honest.packages != files.size() + 1) {
                std::fprintf(stderr, "the honest floor read %zu packages of %s, not %zu\n", honest.packages,
                    folder.c_str(), files.size() + 1);
                return 1;
            }
            const double inProcess = InProcessFloorApart(folder, workers);
            if (inProcess < 0) {
                std::fprintf(stderr, "the in-process floor on %s failed\n", folder.c_str());
                return 1;
            }
            if (k == 0)
                continue;
            programTimes.push_back(run.spawned.seconds);
            programPeaks.push_back(run.spawned.peakKiB);
            findings = run.findings;
            honestTimes.push_back(honest.spawned.seconds);
            honestPeaks.push_back(honest.spawned.peakKiB);
            inProcessTimes.push_back(inProcess);
        }
        const double program = Median(programTimes);
        const double honest = Median(honestTimes);
        const double inProcess = Median(inProcessTimes);
        std::printf("%-32s %8zu %7d %8.3f s %8.3f s %8.3f s %7.2f %7.2f %8zu %11.1f %11.1f\n", folder.c_str(),
            files.size(), workers, program, honest, inProcess, program / honest, program / inProcess, findings,
            Median(programPeaks) / 1024, Median(honestPeaks) / 1024);
        std::fflush(stdout);
    }
    PrintLoadAverage("at the end");
    return 0;
}

} // namespace
} // namespace kw

int main(int argc, char** argv) { return kw::Main(argc, argv); }
