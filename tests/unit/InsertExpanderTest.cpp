#include <gtest/gtest.h>

#include "InsertExpanderCases.h"
#include "core/InsertExpander.h"

namespace kw {
namespace {

TEST(MessageInserts, EscapesAndInsertsExpandAsTheSystemExpandsThem)
{
    for (const auto& c : testing_cases::kExpansions) {
        const ExpandedMessage expanded = ExpandInserts(c.templ, testing_cases::kInserts);
        EXPECT_EQ(expanded.error, 0u) << c.templ;
        EXPECT_EQ(expanded.text, c.expected) << c.templ;
    }
}

TEST(MessageInserts, TemplatesThatCannotBeExpandedAreRefused)
{
    const std::vector<std::wstring> two = {L"A", L"B"};
    for (const wchar_t* templ : {L"ends in %", L"%3 is not given", L"%1 then %12", L"%1!d! is no text"})
        EXPECT_EQ(ExpandInserts(templ, two).error, 87u) << templ;
    // Whatever stands after %0 is never read, and an escaped percent sign is no insert.
    EXPECT_EQ(ExpandInserts(L"%1%0%3", two).error, 0u);
    EXPECT_EQ(ExpandInserts(L"%%3", two).text, L"%3");
}

} // namespace
} // namespace kw
