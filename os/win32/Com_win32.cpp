#include <windows.h>

#include <objbase.h>

#include "os/Com.h"

namespace kw {

ComApartment::ComApartment() : initialised_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) { }

ComApartment::~ComApartment()
{
    if (initialised_)
        CoUninitialize();
}

} // namespace kw
