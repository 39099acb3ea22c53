#include "os/Com.h"

namespace kw {

ComApartment::ComApartment() = default;
ComApartment::~ComApartment() = default;

} // namespace kw
