#pragma once
// Failures that reports have always placed at one source file and line. Users, their support
// and their log filters know them by that place, so it stays as it is whatever becomes of the
// code around it; every other throw site names its own file and line (KW_HERE).

namespace kw {

struct ReportLocation {
    const wchar_t* file;
    int line;
};

// The resource library could not be loaded at start-up.
inline constexpr ReportLocation kStartupFailureLocation = {L"..\\src\\ConflictsDetector.cpp", 191};
// A standard exception that ended a detection run.
inline constexpr ReportLocation kDetectionFailureLocation = {L"..\\src\\ConflictsDetectorManager.cpp", 86};
// A translated fault whose faulting frame names no source line.
inline constexpr ReportLocation kFaultLocation = {L"..\\core\\ExceptionHandling.cpp", 91};
// A structured exception that came without its exception record.
inline constexpr ReportLocation kUnidentifiedFaultLocation = {L"..\\core\\ExceptionHandling.cpp", 116};
// The path variables file whose root element is not PathVariables.
inline constexpr ReportLocation kPathVariablesRootLocation = {L"..\\msicomp\\apppaths\\AppPathsLoader.cpp", 56};

// The XML reader, by what failed.
inline constexpr const wchar_t* kXmlReaderFile = L"..\\os\\XmlReader.cpp";
inline constexpr ReportLocation kXmlParserLocation = {kXmlReaderFile, 245};
inline constexpr ReportLocation kXmlOpenLocation = {kXmlReaderFile, 58};
inline constexpr ReportLocation kXmlBufferLocation = {kXmlReaderFile, 66};
inline constexpr ReportLocation kXmlReadLocation = {kXmlReaderFile, 71};
inline constexpr ReportLocation kXmlParseLocation = {kXmlReaderFile, 101};
inline constexpr ReportLocation kXmlDeclarationLocation = {kXmlReaderFile, 115};

} // namespace kw
