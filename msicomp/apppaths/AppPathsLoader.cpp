#include "msicomp/apppaths/AppPathsLoader.h"

#include <cstring>
#include <cwchar>

#include "core/Exception.h"
#include "core/ReportLocations.h"
#include "msicomp/apppaths/XmlReader.h"
#include "os/FileSystem.h"
#include "res/TextIds.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

constexpr int kFileVariableType = 2;

// A decimal number as the C library reads one: leading digits, anything else is 0.
int DecimalValue(const std::wstring& text) { return static_cast<int>(std::wcstol(text.c_str(), nullptr, 10)); }

class PathVariablesReader : public XmlReader {
public:
    std::vector<PathVariableEntry> entries;

protected:
    void OnStartElement(const char* name, const char** attributes) override
    {
        ++depth_;
        if (depth_ == 1 && std::strcmp(name, "PathVariables") != 0)
            throw Exception(kPathVariablesRootLocation.file, kPathVariablesRootLocation.line,
                IDS_PATH_VARIABLES_WRONG_ROOT, Path());
        if (depth_ != 2 || std::strcmp(name, "Var") != 0)
            return;
        PathVariableEntry entry{{}, {}, kFileVariableType, 0};
        for (const char** attribute = attributes; attribute[0] != nullptr; attribute += 2) {
            const std::wstring value = FromUtf8(attribute[1]);
            if (std::strcmp(attribute[0], "Name") == 0)
                entry.name = value;
            else if (std::strcmp(attribute[0], "Path") == 0)
                entry.path = SystemPath(value);
            else if (std::strcmp(attribute[0], "Type") == 0)
                entry.type = DecimalValue(value);
            else if (std::strcmp(attribute[0], "ContentType") == 0)
                entry.contentType = DecimalValue(value);
        }
        entries.push_back(std::move(entry));
    }

    void OnEndElement(const char*) override { --depth_; }

private:
    int depth_ = 0;
};

} // namespace

std::vector<PathVariableEntry> ReadPathVariablesFile(const std::wstring& path)
{
    if (!PathExists(path))
        return {};
    PathVariablesReader reader;
    reader.Parse(path);
    return std::move(reader.entries);
}

} // namespace kw
