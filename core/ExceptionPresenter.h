#pragma once
// Shows an exception to the user: in bright red on the console in console mode, else in the
// error report dialog; then hands it to the report sink, if the application installed one.
#include <atomic>
#include <exception>
#include <mutex>
#include <optional>
#include <string>

#include "core/Exception.h"

namespace kw {

using WindowHandle = void*;

// Installed by the application to receive and send error reports.
class IReportSink {
public:
    virtual ~IReportSink() = default;
    // Called after every presentation.
    virtual void Report(const std::wstring& fullText, const std::wstring& typeName, const std::wstring& file) = 0;
    virtual bool CanSend() = 0;
    virtual bool Send(const std::wstring& text, void* extra) = 0;
    // With `first`, a note placed between an error and its stack trace; otherwise the title of
    // the error dialog. Asked once per process.
    virtual std::wstring GetText(bool first) = 0;
    // Asked before the error dialog is built.
    virtual bool ShouldShowDialog() = 0;
};

class ExceptionPresenter {
public:
    // The one presenter of the process, created on first use.
    static ExceptionPresenter& Instance();

    void SetConsoleMode(bool consoleMode) { consoleMode_ = consoleMode; }
    void SetMainWindow(WindowHandle window) { mainWindow_ = window; }
    void SetReportSink(IReportSink* sink) { sink_ = sink; }

    void Present(WindowHandle parent, const IException& exception);
    // A standard-library exception, presented as type "EXCEPTION_STD".
    void Present(WindowHandle parent, const std::exception& exception);
    void Show(WindowHandle parent, const std::wstring& shortText, const std::wstring& fullText,
        const std::wstring& typeName, const std::wstring& file);

private:
    ExceptionPresenter() = default;

    std::atomic<bool> consoleMode_{false};
    std::atomic<WindowHandle> mainWindow_{nullptr};
    std::atomic<IReportSink*> sink_{nullptr};
    std::once_flag sinkTextsFetched_;
    std::wstring note_;
    std::wstring title_;
};

// The one catch funnel: presents the exception being handled, so that a catch site needs one
// clause, `catch (...) { PresentCurrentException(); }`. Call it only while an exception is
// being handled (inside a catch clause); otherwise the program terminates.
// - The program's own exceptions (IException) go to their own presenter, as they are.
// - A standard exception is presented as type "EXCEPTION_STD" from the presenter's own source
//   file; given `standardFrom`, it is first wrapped into an Exception thrown from that location
//   (for catch sites whose reports have always named a fixed file and line).
// - Anything else (a foreign exception: an int, a type of some library) is never swallowed
//   silently: it is presented as an exception of unknown type, type "EXCEPTION_UNHANDLED", from
//   `standardFrom` when given, else from the presenter's source file.
// - glibc's forced unwinding (a cancelled thread, or pthread_exit) is thrown on: it must reach
//   the end of the thread.
// An exception thrown while presenting leaves this function.
void PresentCurrentException(WindowHandle parent = nullptr, const std::optional<SourceLocation>& standardFrom = {});

// The same for an exception carried from where it was caught (a worker's, told as an event).
void PresentException(const std::exception_ptr& error, WindowHandle parent = nullptr,
    const std::optional<SourceLocation>& standardFrom = {});

} // namespace kw
