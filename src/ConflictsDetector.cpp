#include "src/ConflictsDetector.h"

#include <exception>

#include "core/Exception.h"
#include "core/ExceptionHandling.h"
#include "core/ExceptionPresenter.h"
#include "os/Console.h"
#include "os/Module.h"
#include "os/ResourceText.h"
#include "src/ConflictsDetectorManager.h"
#include "ui/ConsoleProgressSink.h"
#include "ui/Windowing.h"
#include "ui/Wizard.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

constexpr const wchar_t* kTitle = L"Kitewright Conflicts Detector";
constexpr const wchar_t* kBanner = L"\n*** Kitewright Conflicts Detector ***\n";
constexpr const wchar_t* kClosingLine = L"\n\nKitewright Conflicts Detector DONE.";

constexpr unsigned kCancelledTextId = 5785;
constexpr unsigned kFailedTextId = 5786;
constexpr unsigned kNoWizardTextId = 1119;
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
        throw WindowsException(KW_HERE);
    helpFile_ = ExecutableFolder() + L"kitew.chm";
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
        if (parser_.Mode() != 0)
            SetUpConsole();
        // Options without NoUI still open the wizard, with the console already set up.
        if (EqualsIgnoreCase(options_.Get(L"NoUI"), L"true")) {
            result = RunInConsole();
        } else if (const auto wizard = RunWizard(options_)) {
            result = *wizard;
        } else {
            SetUpConsole();
            ConsoleWriter::Get().WriteLine(LoadText(kNoWizardTextId));
            parser_.PrintUsage();
            result = 1;
        }
    }
    // The closing line follows the usage as well as a run, whenever there is a console.
    if (ConsoleWriter* console = ConsoleWriter::Existing())
        console->Write(kClosingLine);
    return result;
}

std::set<std::wstring> ConflictsDetector::ExcludedRules() const { return SplitRuleIds(options_.Get(L"ExcludedRules")); }

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
    ConsoleProgressSink sink(true, &options_);
    sink.SetCancelled(false);
    std::uint32_t result = 0;
    {
        ConflictsDetectorManager manager(options_, &sink);
        result = manager.Run();
    }
    if (result != 0)
        sink.Finished(LoadText(result == kErrorOperationAborted ? kCancelledTextId : kFailedTextId), result);
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
