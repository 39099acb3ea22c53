#pragma once
// Failures that reports have always placed at one source file and line. Users, their support
// and their log filters know them by that place, so it stays as it is whatever becomes of the
// code around it; every other throw site names its own file and line (KW_HERE).

#include "core/Exception.h"

namespace kw {

// The resource library could not be loaded at start-up.
inline const SourceLocation kStartupFailureLocation = {L"..\\src\\ConflictsDetector.cpp", 191};
// A standard exception that ended a detection run.
inline const SourceLocation kDetectionFailureLocation = {L"..\\src\\ConflictsDetectorManager.cpp", 86};
// A translated fault whose faulting frame names no source line.
inline const SourceLocation kFaultLocation = {L"..\\core\\ExceptionHandling.cpp", 91};
// A structured exception that came without its exception record.
inline const SourceLocation kUnidentifiedFaultLocation = {L"..\\core\\ExceptionHandling.cpp", 116};
// The path variables file whose root element is not PathVariables.
inline const SourceLocation kPathVariablesRootLocation = {L"..\\msicomp\\apppaths\\AppPathsLoader.cpp", 56};

// The XML reader, by what failed.
inline constexpr const wchar_t* kXmlReaderFile = L"..\\os\\XmlReader.cpp";
inline const SourceLocation kXmlParserLocation = {kXmlReaderFile, 245};
inline const SourceLocation kXmlOpenLocation = {kXmlReaderFile, 58};
inline const SourceLocation kXmlBufferLocation = {kXmlReaderFile, 66};
inline const SourceLocation kXmlReadLocation = {kXmlReaderFile, 71};
inline const SourceLocation kXmlParseLocation = {kXmlReaderFile, 101};
inline const SourceLocation kXmlDeclarationLocation = {kXmlReaderFile, 115};

} // namespace kw
