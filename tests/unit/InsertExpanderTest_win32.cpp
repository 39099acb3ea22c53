#include <gtest/gtest.h>

#include "InsertExpanderCases.h"
#include "core/InsertExpander.h"

namespace kw {
namespace {

// The portable expander stands in for FormatMessageW on POSIX: both must read every template
// alike.
TEST(MessageInserts, PortableExpanderAgreesWithFormatMessage)
{
    for (const auto& c : testing_cases::kExpansions) {
        const ExpandedMessage system = FormatMessageFromString(c.templ, testing_cases::kInserts);
        const ExpandedMessage portable = ExpandInserts(c.templ, testing_cases::kInserts);
        EXPECT_EQ(system.error, 0u) << c.templ;
        EXPECT_EQ(portable.text, system.text) << c.templ;
    }
    EXPECT_EQ(FormatMessageFromString(L"ends in %", testing_cases::kInserts).error, 87u);
    EXPECT_EQ(FormatMessageFromString(L"%11 is not given", testing_cases::kInserts).error, 87u);
}

} // namespace
} // namespace kw
