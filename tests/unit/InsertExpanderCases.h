#pragma once
// Templates that expand the same way wherever they are expanded.
#include <string>
#include <vector>

namespace kw::testing_cases {

struct ExpansionCase {
    const wchar_t* templ;
    const wchar_t* expected;
};

inline const std::vector<std::wstring> kInserts = {L"A", L"BCD", L"C", L"D", L"E", L"F", L"G", L"H", L"I", L"J"};

inline const std::vector<ExpansionCase> kExpansions = {
    {L"a %1 b %2 c", L"a A b BCD c"},
    {L"%2-%1", L"BCD-A"},
    {L"100%% done", L"100% done"},
    {L"%%1 is literal", L"%1 is literal"},
    {L"line%nbreak", L"line\r\nbreak"},
    {L"cr%rsp% dot%. bang%!", L"cr\rsp dot. bang!"},
    {L"stop%0after", L"stop"},
    {L"written\r\nbreak and\nfeed", L"written break and feed"},
    {L"%x unknown", L"x unknown"},
    {L"%1!s! and %2!ls!", L"A and BCD"},
    {L"[%1!5s!] [%2!-5s!] [%2!.2s!]", L"[    A] [BCD  ] [BC]"},
    {L"%10 ten, %100", L"J ten, J0"},
    {L"%1%2", L"ABCD"},
};

} // namespace kw::testing_cases
