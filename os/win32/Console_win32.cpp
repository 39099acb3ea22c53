// The console on Windows. The program is a GUI-subsystem executable, so it has no console of
// its own: the first use attaches to the parent's console (a command prompt) or allocates a
// new one, reopens the standard streams on it and switches its output to UTF-8.
//
// A standard stream that Windows already connected to a file or a pipe is kept, not reopened
// on the console, and receives UTF-8 bytes with "\r\n" line ends and no colours; otherwise
// "ConflictsDetector.exe /NoUI ... > log.txt" would lose its output.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "os/ConsoleDevice.h"
#include "os/OsVersion.h"
#include "util/strings/StringSystem.h"

namespace kw::console_device {

namespace {

constexpr std::uint16_t kDefaultAttribute = 7;

bool IsRedirected(HANDLE handle)
{
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE)
        return false;
    const DWORD type = GetFileType(handle);
    return type == FILE_TYPE_DISK || type == FILE_TYPE_PIPE;
}

// Process-wide, created once; its exit behaviour runs at process exit.
struct ConsoleAttachment {
    bool attached = false;
    // Set and never cleared, so the one-second sleep of the exit behaviour is never reached;
    // the branch stays for a build that does clear it.
    bool pauseAtExit = true;
    HANDLE redirectedOutput = nullptr; // standard output when it is a file or pipe
    HANDLE console = INVALID_HANDLE_VALUE; // the console's screen buffer
};

ConsoleAttachment& Attachment();

void ExitBehaviour()
{
    ConsoleAttachment& attachment = Attachment();
    const HWND window = GetConsoleWindow();
    if (window != nullptr && IsWindowVisible(window)) {
        if (attachment.attached) {
            // The parent shell waits for a key before it shows its prompt again.
            keybd_event(VK_RETURN, 28, 0, 0);
            keybd_event(VK_RETURN, 28, KEYEVENTF_KEYUP, 0);
        } else if (attachment.pauseAtExit) {
            DWORD written = 0;
            WriteConsoleW(attachment.console, L"\nPress ENTER to continue...", 27, &written, nullptr);
            std::getwchar();
        } else {
            Sleep(1000);
        }
    }
    FreeConsole();
}

ConsoleAttachment CreateAttachment()
{
    ConsoleAttachment attachment;
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
    const bool keepInput = IsRedirected(input);
    const bool keepOutput = IsRedirected(output);
    const bool keepError = IsRedirected(error);

    // Only from version 6.1 on; older systems get a console of their own.
    if (GetOsVersion().AtLeast(6, 1))
        attachment.attached = AttachConsole(ATTACH_PARENT_PROCESS) != FALSE;
    if (!attachment.attached) {
        FreeConsole();
        AllocConsole();
    }

    if (keepInput)
        SetStdHandle(STD_INPUT_HANDLE, input);
    else
        _wfreopen(L"CONIN$", L"r", stdin);
    if (keepOutput)
        SetStdHandle(STD_OUTPUT_HANDLE, output);
    else
        _wfreopen(L"CONOUT$", L"w", stdout);
    if (keepError)
        SetStdHandle(STD_ERROR_HANDLE, error);
    else
        _wfreopen(L"CONOUT$", L"w", stderr);

    attachment.console = CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
        nullptr, OPEN_EXISTING, 0, nullptr);
    if (keepOutput)
        attachment.redirectedOutput = output;
    else if (attachment.console != INVALID_HANDLE_VALUE)
        SetStdHandle(STD_OUTPUT_HANDLE, attachment.console);
    std::atexit(ExitBehaviour);
    return attachment;
}

ConsoleAttachment& Attachment()
{
    static ConsoleAttachment attachment = CreateAttachment();
    return attachment;
}

struct WriterState {
    UINT previousCodePage = 0;
    wchar_t last = L'\n'; // the last character written to a file or pipe
};

WriterState g_writer;

// A log file ends on a line break, as every line of it does.
void RestoreAtExit()
{
    if (Attachment().redirectedOutput != nullptr && g_writer.last != L'\n')
        Write(L"\n");
    SetConsoleOutputCP(g_writer.previousCodePage);
}

bool WriteBytes(HANDLE handle, const std::string& bytes)
{
    size_t done = 0;
    while (done < bytes.size()) {
        DWORD written = 0;
        const DWORD chunk = static_cast<DWORD>(std::min<size_t>(bytes.size() - done, 1 << 20));
        if (!WriteFile(handle, bytes.data() + done, chunk, &written, nullptr) || written == 0)
            return false;
        done += written;
    }
    return true;
}

// Lone "\n" becomes "\r\n", as a text-mode stream would write it; "\r\n" stays as it is.
std::wstring WithCrLf(std::wstring_view text)
{
    std::wstring out;
    out.reserve(text.size() + 8);
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'\n' && (i == 0 || text[i - 1] != L'\r'))
            out += L'\r';
        out += text[i];
    }
    return out;
}

bool WriteTo(HANDLE handle, std::wstring_view text)
{
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE)
        return false;
    const std::wstring crlf = WithCrLf(text);
    DWORD mode = 0;
    if (GetConsoleMode(handle, &mode)) {
        DWORD written = 0;
        return crlf.empty() || WriteConsoleW(handle, crlf.data(), static_cast<DWORD>(crlf.size()), &written, nullptr);
    }
    return WriteBytes(handle, ToUtf8(crlf));
}

HANDLE OutputHandle()
{
    const ConsoleAttachment& attachment = Attachment();
    return attachment.redirectedOutput != nullptr ? attachment.redirectedOutput : attachment.console;
}

} // namespace

void Open()
{
    Attachment();
    g_writer.previousCodePage = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
    std::atexit(RestoreAtExit);
}

bool Write(std::wstring_view text)
{
    if (!text.empty())
        g_writer.last = text.back();
    return WriteTo(OutputHandle(), text);
}

// Every text is written as it comes: nothing is kept.
bool Flush() { return true; }

std::uint16_t GetAttribute()
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!GetConsoleScreenBufferInfo(OutputHandle(), &info))
        return kDefaultAttribute;
    return info.wAttributes;
}

void SetAttribute(std::uint16_t attribute) { SetConsoleTextAttribute(OutputHandle(), attribute); }

void SetTitle(std::wstring_view title) { SetConsoleTitleW(std::wstring(title).c_str()); }

bool WriteError(std::wstring_view text) { return WriteTo(GetStdHandle(STD_ERROR_HANDLE), text); }

} // namespace kw::console_device
