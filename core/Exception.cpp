#include "core/Exception.h"

#include <iterator>

#include "core/ExceptionHandling.h"
#include "core/ExceptionPresenter.h"
#include "core/InsertExpander.h"
#include "os/ResourceText.h"
#include "os/SystemError.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

// The order of "EXCEPTION_CMD" (4) and "EXCEPTION_XML_PARSE" (5) is deliberate: reports and
// the tools that read them know the types by these numbers.
constexpr const wchar_t* kTypeNames[] = {
    L"EXCEPTION_STD",
    L"EXCEPTION_UNHANDLED",
    L"EXCEPTION_GENERIC",
    L"EXCEPTION_WIN32",
    L"EXCEPTION_CMD",
    L"EXCEPTION_XML_PARSE",
    L"EXCEPTION_SEH",
};

constexpr const wchar_t* kAccessViolationNames[] = {
    L"SEH_GENERIC",
    L"SEH_AV_READ_NULLPTR",
    L"SEH_AV_READ_BADPTR",
    L"SEH_AV_WRITE_NULLPTR",
    L"SEH_AV_WRITE_BADPTR",
    L"SEH_AV_DEP_NULLPTR",
    L"SEH_AV_DEP_BADPTR",
};

// Message templates are read as into a buffer of 256 characters.
constexpr std::size_t kTemplateCapacity = 256;

} // namespace

std::wstring SourceModule(std::string_view file)
{
    std::wstring path = FromUtf8(file);
    for (wchar_t& c : path) {
        if (c == L'/')
            c = L'\\';
    }
    const bool absolute = path.starts_with(L'\\') || (path.size() > 1 && path[1] == L':');
    return absolute ? path : L"..\\" + path;
}

std::wstring ExceptionTypeName(int type)
{
    if (type < 0 || type >= static_cast<int>(std::size(kTypeNames)))
        return L"Exception ???";
    return kTypeNames[type];
}

std::wstring ComposeMessage(unsigned messageId, const std::vector<std::wstring>& inserts)
{
    const std::wstring templ = LoadText(messageId, kTemplateCapacity);
    ExpandedMessage expanded = FormatMessageFromString(templ, inserts);
    if (expanded.error == 0)
        return std::move(expanded.text);
    return L"Format message error [win32 error 0x" + ToHex(expanded.error) + L"] while composing the message [" +
        templ + L"].";
}

std::wstring ComposeSystemErrorMessage(std::uint32_t code)
{
    std::wstring text =
        SystemMessageText(code).value_or(L"Failed to get Windows error message [win32 error 0x" + ToHex(code) + L"].");
    return L"Win32 Error [" + std::to_wstring(static_cast<std::int32_t>(code)) + L"]: \"" + text + L"\"";
}

Exception::Exception(std::wstring file, int line, std::wstring message)
    : message_(std::move(message)), file_(std::move(file)), line_(line)
{
}

void Exception::Rethrow() const { throw *this; }

std::unique_ptr<IException> Exception::Clone(bool withStackTrace) const { return CloneOf(*this, withStackTrace); }

void Exception::AddStackTrace()
{
    if (message_.find(kStackTraceHeader) != std::wstring::npos)
        return;
    // A clone is made where the exception is handled, so the stack of the handler is the
    // stack of the failure from the catch site outwards.
    message_ += L"\r\n";
    AppendCurrentStackTrace(message_, kFaultTraceFrames);
}

int Exception::GetType() const { return kExceptionGeneric; }

std::wstring Exception::GetTypeName() const { return ExceptionTypeName(GetType()); }

ExceptionPresenter& Exception::GetPresenter() const { return ExceptionPresenter::Instance(); }

WindowsException::WindowsException(std::wstring file, int line)
    : WindowsException(std::move(file), line, LastSystemError())
{
}

WindowsException::WindowsException(std::wstring file, int line, std::uint32_t code)
    : Exception(std::move(file), line, ComposeSystemErrorMessage(code))
{
    code_ = code;
}

WindowsException::WindowsException(std::wstring file, int line, const ComError& error)
    : Exception(std::move(file), line,
          error.description.empty()
              ? ComposeSystemErrorMessage(static_cast<std::uint32_t>(error.hresult))
              : L"Win32 COM Error [" + std::to_wstring(error.hresult) + L"]: { " + error.description + L" }")
{
    code_ = static_cast<std::uint32_t>(error.hresult);
}

void WindowsException::Rethrow() const { throw *this; }

std::unique_ptr<IException> WindowsException::Clone(bool withStackTrace) const
{
    return CloneOf(*this, withStackTrace);
}

int WindowsException::GetType() const { return kExceptionWin32; }

SehException::SehException(std::wstring message, std::wstring file, int line, int accessViolationKind)
    : Exception(std::move(file), line, std::move(message)), accessViolationKind_(accessViolationKind)
{
}

void SehException::Rethrow() const { throw *this; }

std::unique_ptr<IException> SehException::Clone(bool withStackTrace) const { return CloneOf(*this, withStackTrace); }

int SehException::GetType() const { return kExceptionSeh; }

std::wstring SehException::GetTypeName() const { return AccessViolationName(accessViolationKind_); }

std::wstring AccessViolationName(int kind)
{
    if (kind < 0 || kind >= static_cast<int>(std::size(kAccessViolationNames)))
        return kAccessViolationNames[kSehGeneric];
    return kAccessViolationNames[kind];
}

} // namespace kw
