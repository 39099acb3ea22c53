#include "src/ConflictsDetector.h"

#include <exception>

#include "core/Exception.h"
#include "core/ExceptionHandling.h"
#include "core/ExceptionPresenter.h"
#include "core/ReportLocations.h"
#include "engine/ConflictsDetectorManager.h"
#include "os/Console.h"
#include "os/Module.h"
#include "os/ResourceText.h"
#include "res/TextIds.h"
#include "ui/ConsoleProgressSink.h"
#include "ui/ProgressReport.h"
#include "ui/Windowing.h"
#include "ui/Wizard.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

constexpr const wchar_t* kTitle = L"Kitewright Conflicts Detector";
constexpr const wchar_t* kBanner = L"\n*** Kitewright Conflicts Detector ***\n";
constexpr const wchar_t* kClosingLine = L"\n\nKitewright Conflicts Detector DONE.";

constexpr std::uint32_t kErrorOperationAborted = 995;

} // namespace

ConflictsDetector::ConflictsDetector(std::wstring commandLine) : commandLine_(std::move(commandLine)) { }

ConflictsDetector::~ConflictsDetector()
{
    if (windowingStarted_)
        ShutDownWindowing();
}

bool ConflictsDetector::Initialise()
{
    if (!LoadResourceLibrary())
        throw WindowsException(kStartupFailureLocation.file, kStartupFailureLocation.line);
    InitialiseCommonControls();
    if (const std::int32_t result = InitialiseWindowing(); result < 0)
        throw WindowsException(KW_HERE, static_cast<std::uint32_t>(result));
    windowingStarted_ = true;
    return true;
}

std::uint32_t ConflictsDetector::Run()
{
    std::uint32_t result = 0;
    if (!parser_.Parse(commandLine_, options_)) {
        SetUpConsole();
        parser_.PrintUsage();
        result = 1;
    } else {
        if (parser_.AnyOptionGiven())
            SetUpConsole();
        // Options without NoUI still open the wizard, with the console already set up.
        if (EqualsIgnoreCase(options_.Get(L"NoUI"), L"true")) {
            result = RunInConsole();
        } else if (const auto wizard = RunWizard(options_)) {
            result = *wizard;
        } else {
            SetUpConsole();
            ConsoleWriter::Get().WriteLine(LoadText(IDS_NO_WIZARD));
            parser_.PrintUsage();
            result = 1;
        }
    }
    // The closing line follows the usage as well as a run, whenever there is a console.
    if (ConsoleWriter* console = ConsoleWriter::Existing())
        console->Write(kClosingLine);
    return result;
}

void ConflictsDetector::SetUpConsole()
{
    if (consoleSetUp_)
        return;
    consoleSetUp_ = true;
    ConsoleWriter& console = ConsoleWriter::Get();
    console.SetTitle(kTitle);
    console.Write(kBanner);
    ExceptionPresenter::Instance().SetConsoleMode(true);
}

std::uint32_t ConflictsDetector::RunInConsole()
{
    ComApartment com;
    ConsoleProgressSink sink(true);
    ProgressReport report(sink);
    const std::uint32_t result = ConflictsDetectorManager(report).Run(options_);
    if (result != 0)
        sink.Finished(
            LoadText(result == kErrorOperationAborted ? IDS_DETECTION_CANCELLED : IDS_DETECTION_FAILED), result);
    else
        sink.Finished(std::wstring(), 0);
    return result;
}

int RunProgram(std::wstring_view commandLine)
{
    InstallTranslator();
    InstallUnhandledFilter();
    bool initialised = false;
    try {
        ConflictsDetector application{std::wstring(commandLine)};
        if (!application.Initialise())
            return -1;
        initialised = true;
        return static_cast<int>(application.Run());
    } catch (...) {
        PresentCurrentException();
    }
    return initialised ? 1 : -1;
}

} // namespace kw
