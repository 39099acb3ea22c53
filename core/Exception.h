#pragma once
// The exceptions that every part of the program throws and catches. A throw site records its
// source file and line, an error code and a message composed for the user.
#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kw {

class ExceptionPresenter;

// The throw site: its source file as the build names it relative to the source tree
// ("..\src\ConflictsDetector.cpp"), then its line. Expands to two constructor arguments.
#define KW_HERE ::kw::SourceModule(__FILE__), __LINE__

std::wstring SourceModule(std::string_view file);

// A source file as KW_HERE names it, and a line in it.
struct SourceLocation {
    std::wstring file;
    int line = 0;
};

// The program's own application-error code, the code of every exception that carries no
// system error.
inline constexpr std::uint32_t kApplicationErrorCode = 0xE0010064;

// Where a message's stack trace begins; the text before it is what the user is shown first.
inline constexpr std::wstring_view kStackTraceHeader = L"\r\n*** Stack Trace (x86) ***\r\n\r\n";

// Indexes of the exception type table.
enum ExceptionType : int {
    kExceptionStd = 0,
    kExceptionUnhandled = 1,
    kExceptionGeneric = 2,
    kExceptionWin32 = 3,
    kExceptionCmd = 4,
    kExceptionXmlParse = 5,
    kExceptionSeh = 6,
};

// The name of a type index; "Exception ???" for an index outside the table.
std::wstring ExceptionTypeName(int type);

class IException {
public:
    [[noreturn]] virtual void Rethrow() const = 0;
    // A heap copy of the most-derived type; with the flag, the stack of the exception being
    // handled is added to its message unless the message already has a trace.
    virtual std::unique_ptr<IException> Clone(bool withStackTrace) const = 0;
    virtual int GetType() const = 0;
    virtual ~IException() = default;
    virtual std::wstring GetTypeName() const = 0;
    virtual ExceptionPresenter& GetPresenter() const = 0;

    virtual const std::wstring& Message() const = 0;
    virtual std::uint32_t Code() const = 0;
    virtual const std::wstring& File() const = 0;
    virtual int Line() const = 0;
};

// Text of one insert of a numbered message.
inline std::wstring InsertText(std::wstring_view text) { return std::wstring(text); }
inline std::wstring InsertText(const wchar_t* text) { return text != nullptr ? text : L""; }
template <std::integral T> std::wstring InsertText(T value) { return std::to_wstring(value); }

// The message with id `messageId` (at most 255 characters of it) with its %1, %2 ... inserts
// filled in. A template that cannot be expanded gives a message that says so and shows it.
std::wstring ComposeMessage(unsigned messageId, const std::vector<std::wstring>& inserts);

class Exception : public IException {
public:
    Exception(std::wstring file, int line, std::wstring message);

    template <typename... Args>
    Exception(std::wstring file, int line, unsigned messageId, const Args&... args)
        : Exception(std::move(file), line, ComposeMessage(messageId, {InsertText(args)...}))
    {
    }

    [[noreturn]] void Rethrow() const override;
    std::unique_ptr<IException> Clone(bool withStackTrace) const override;
    int GetType() const override;
    std::wstring GetTypeName() const override;
    ExceptionPresenter& GetPresenter() const override;

    const std::wstring& Message() const override { return message_; }
    std::uint32_t Code() const override { return code_; }
    const std::wstring& File() const override { return file_; }
    int Line() const override { return line_; }

protected:
    // A copy of `original` with, when asked and when its message has none yet, the stack of the
    // calling thread added to the message.
    template <typename T> static std::unique_ptr<IException> CloneOf(const T& original, bool withStackTrace)
    {
        auto copy = std::make_unique<T>(original);
        if (withStackTrace)
            copy->AddStackTrace();
        return copy;
    }
    void AddStackTrace();

    std::wstring message_;
    std::uint32_t code_ = kApplicationErrorCode;
    std::wstring file_;
    int line_ = 0;
};

// A COM failure as the platform reports it: the HRESULT and the description of its error
// information (empty when it has none).
struct ComError {
    std::int32_t hresult = 0;
    std::wstring description;
};

// A Win32 or COM failure: the code is the system error or HRESULT, the message its text.
class WindowsException : public Exception {
public:
    // From the calling thread's last system error.
    WindowsException(std::wstring file, int line);
    // From a given Win32 error code or HRESULT.
    WindowsException(std::wstring file, int line, std::uint32_t code);
    WindowsException(std::wstring file, int line, const ComError& error);

    [[noreturn]] void Rethrow() const override;
    std::unique_ptr<IException> Clone(bool withStackTrace) const override;
    int GetType() const override;
};

// "Win32 Error [code]: "text"", with the code in signed decimal so that an HRESULT such as
// 0x80004005 reads as a negative number, as it always has.
std::wstring ComposeSystemErrorMessage(std::uint32_t code);

// Access-violation kinds of a structured exception.
enum AccessViolationKind : int {
    kSehGeneric = 0,
    kSehReadNull = 1,
    kSehReadBad = 2,
    kSehWriteNull = 3,
    kSehWriteBad = 4,
    kSehDepNull = 5,
    kSehDepBad = 6,
};

// "SEH_AV_READ_NULLPTR" and the like; "SEH_GENERIC" for a kind outside the table.
std::wstring AccessViolationName(int kind);

// A hardware fault or other structured exception, translated into an exception of ours.
class SehException : public Exception {
public:
    SehException(std::wstring message, std::wstring file, int line, int accessViolationKind);

    [[noreturn]] void Rethrow() const override;
    std::unique_ptr<IException> Clone(bool withStackTrace) const override;
    int GetType() const override;
    // The access-violation class, such as "SEH_AV_READ_NULLPTR", not the type's name.
    std::wstring GetTypeName() const override;

    int AccessViolation() const { return accessViolationKind_; }

private:
    int accessViolationKind_;
};

} // namespace kw
