#pragma once
// The user's path variables file, PathVariables.apf:
//
//   <?xml version="1.0" encoding="UTF-8"?>
//   <PathVariables>
//     <Var Name="KW_MINE" Path="D:\Mine" Type="2" ContentType="0"/>
//   </PathVariables>
//
// Type defaults to 2 and ContentType to 0; elements other than Var are ignored.
#include <string>
#include <vector>

#include "msicomp/apppaths/AppPaths.h"

namespace kw {

// The variables of the file in the order they appear; none when the file does not exist.
// Throws when it cannot be read or is malformed, and when its root element is not
// PathVariables.
std::vector<PathVariableEntry> ReadPathVariablesFile(const std::wstring& path);

} // namespace kw
