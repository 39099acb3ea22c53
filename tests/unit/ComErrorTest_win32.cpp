#include <gtest/gtest.h>

#include "core/ComError_win32.h"

namespace kw {
namespace {

IErrorInfo* MakeErrorInfo(const wchar_t* description)
{
    ComOwner<ICreateErrorInfo> create;
    EXPECT_EQ(CreateErrorInfo(create.Put()), S_OK);
    create.Get()->SetDescription(const_cast<wchar_t*>(description));
    IErrorInfo* info = nullptr;
    create.Get()->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info));
    return info;
}

TEST(ComErrors, ErrorObjectsConvertWithTheirDescriptionAtTheBoundary)
{
    const _com_error described(E_ACCESSDENIED, MakeErrorInfo(L"The catalogue is locked"));
    const WindowsException fromDescribed(KW_HERE, ToComError(described));
    EXPECT_EQ(fromDescribed.Message(), L"Win32 COM Error [-2147024891]: { The catalogue is locked }");

    const _com_error bare(E_FAIL);
    const WindowsException fromBare(KW_HERE, ToComError(bare));
    EXPECT_EQ(fromBare.Message(), WindowsException(KW_HERE, 0x80004005u).Message());
}

} // namespace
} // namespace kw
