#include "core/InsertExpander.h"

namespace kw {

ExpandedMessage FormatMessageFromString(std::wstring_view templ, std::span<const std::wstring> inserts)
{
    return ExpandInserts(templ, inserts);
}

} // namespace kw
