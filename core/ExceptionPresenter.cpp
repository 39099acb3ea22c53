#include "core/ExceptionPresenter.h"

#include <exception>
// GNU's C++ library unwinds cancelled threads with an exception of its own.
#if defined(__GLIBCXX__)
#include <cxxabi.h>
#define KW_HAS_FORCED_UNWIND 1
#endif

#include "core/ErrorDialog.h"
#include "os/Console.h"
#include "os/ResourceText.h"
#include "res/TextIds.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

constexpr const wchar_t* kPresenterFile = L"..\\core\\ExceptionPresenter.cpp";
constexpr const wchar_t* kForeignExceptionText = L"An exception of unknown type was thrown.";
} // namespace

ExceptionPresenter& ExceptionPresenter::Instance()
{
    static ExceptionPresenter presenter;
    return presenter;
}

void ExceptionPresenter::Present(WindowHandle parent, const IException& exception)
{
    const std::wstring& message = exception.Message();
    std::wstring shortText = exception.GetType() == kExceptionSeh ? LoadText(IDS_UNEXPECTED_ERROR)
                                                                  : message.substr(0, message.find(kStackTraceHeader));
    Show(parent, shortText, message, exception.GetTypeName(), exception.File());
}

void ExceptionPresenter::Present(WindowHandle parent, const std::exception& exception)
{
    const std::wstring message = FromUtf8(exception.what());
    Show(parent, message, message, ExceptionTypeName(kExceptionStd), kPresenterFile);
}

void ExceptionPresenter::Show(WindowHandle parent, const std::wstring& shortText, const std::wstring& fullText,
    const std::wstring& typeName, const std::wstring& file)
{
    IReportSink* sink = sink_.load();
    std::call_once(sinkTextsFetched_, [&] {
        if (sink != nullptr) {
            note_ = sink->GetText(true);
            title_ = sink->GetText(false);
        }
    });

    std::wstring text = fullText;
    const size_t trace = text.find(kStackTraceHeader);
    if (!note_.empty() && trace != std::wstring::npos)
        text.insert(trace, L"\r\n" + note_);

    if (consoleMode_) {
        ScopedConsoleColour colour(ConsoleColour::BrightRed);
        ConsoleWriter::Get().WriteLine(text);
    } else {
        WindowHandle owner = IsLiveWindow(parent) ? parent : IsLiveWindow(mainWindow_) ? mainWindow_.load() : nullptr;
        if (sink != nullptr)
            sink->ShouldShowDialog(); // the dialog is shown whatever it answers
        ShowErrorDialog(owner, title_.empty() ? L"Error" : title_, shortText, text);
    }

    if (sink != nullptr)
        sink->Report(text, typeName, file);
}

void PresentCurrentException(WindowHandle parent, const std::optional<SourceLocation>& standardFrom)
{
    try {
        throw;
#ifdef KW_HAS_FORCED_UNWIND
    } catch (const abi::__forced_unwind&) {
        throw; // thread cancellation unwinds to the end of its thread; stopping it aborts
#endif
    } catch (const IException& exception) {
        exception.GetPresenter().Present(parent, exception);
    } catch (const std::exception& exception) {
        if (standardFrom) {
            const Exception wrapped(standardFrom->file, standardFrom->line, FromUtf8(exception.what()));
            wrapped.GetPresenter().Present(parent, wrapped);
        } else {
            ExceptionPresenter::Instance().Present(parent, exception);
        }
    } catch (...) {
        ExceptionPresenter::Instance().Show(parent, kForeignExceptionText, kForeignExceptionText,
            ExceptionTypeName(kExceptionUnhandled), standardFrom ? standardFrom->file : kPresenterFile);
    }
}

void PresentException(
    const std::exception_ptr& error, WindowHandle parent, const std::optional<SourceLocation>& standardFrom)
{
    try {
        std::rethrow_exception(error);
    } catch (...) {
        PresentCurrentException(parent, standardFrom);
    }
}

} // namespace kw
