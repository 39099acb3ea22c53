#include <gtest/gtest.h>

#include "core/Exception.h"
#include "os/SystemError.h"

namespace kw {
namespace {

// POSIX gives the texts that Windows gives, so that an error reads the same on both.
TEST(SystemErrors, TextsAreTheWindowsTextsOnOneLine)
{
    EXPECT_EQ(WindowsException(L"f", 1, 5u).Message(), L"Win32 Error [5]: \"Access is denied. \"");
    EXPECT_EQ(
        WindowsException(L"f", 1, 126u).Message(), L"Win32 Error [126]: \"The specified module could not be found. \"");
    EXPECT_EQ(WindowsException(L"f", 1, 0x80004005u).Message(), L"Win32 Error [-2147467259]: \"Unspecified error \"");
    EXPECT_FALSE(SystemMessageText(12345678u).has_value());
    EXPECT_EQ(SystemMessageText(0x80070057u), L"The parameter is incorrect. ");
}

} // namespace
} // namespace kw
