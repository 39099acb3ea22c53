#pragma once
// The platform's COM error object meets the program's exceptions here: a catch site for
// _com_error throws WindowsException(KW_HERE, ToComError(error)).
#include <windows.h>

#include <comdef.h>
#include <oleauto.h>

#include "core/Exception.h"
#include "os/win32/Handles_win32.h"

namespace kw {

// The HRESULT and the description of the error's IErrorInfo; an error without one, or with an
// empty description, gives an empty description.
inline ComError ToComError(const _com_error& error)
{
    ComError result{static_cast<std::int32_t>(error.Error()), {}};
    // ErrorInfo() adds a reference for the caller.
    if (const ComOwner<IErrorInfo> info(error.ErrorInfo()); info) {
        BSTR description = nullptr;
        if (SUCCEEDED(info.Get()->GetDescription(&description)) && description != nullptr)
            result.description.assign(description, SysStringLen(description));
        SysFreeString(description);
    }
    return result;
}

} // namespace kw
