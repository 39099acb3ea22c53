#include "engine/OptionMap.h"

#include <algorithm>

namespace kw {

std::wstring OptionMap::Get(const std::wstring& name) const
{
    const auto found = values_.find(name);
    return found != values_.end() ? found->second : std::wstring();
}

std::set<std::wstring> SplitRuleIds(std::wstring_view list)
{
    std::set<std::wstring> ids;
    for (size_t start = 0; start <= list.size();) {
        const size_t end = std::min(list.find(L';', start), list.size());
        if (end > start)
            ids.emplace(list.substr(start, end - start));
        start = end + 1;
    }
    return ids;
}

} // namespace kw
