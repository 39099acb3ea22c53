#include "msicomp/apppaths/XmlReader.h"

#include <expat.h>

#include <cstring>

#include "core/Exception.h"
#include "core/ReportLocations.h"
#include "msicomp/apppaths/XmlReaderFile.h"
#include "res/TextIds.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

constexpr int kBlockSize = 0x10000;

// Code page 1252 from 0x80 to 0x9F; the rest is Latin-1. Bytes the code page leaves undefined
// decode to the control character of the same value, as Windows decodes them.
constexpr int kWindows1252High[32] = {
    0x20AC,
    0x0081,
    0x201A,
    0x0192,
    0x201E,
    0x2026,
    0x2020,
    0x2021,
    0x02C6,
    0x2030,
    0x0160,
    0x2039,
    0x0152,
    0x008D,
    0x017D,
    0x008F,
    0x0090,
    0x2018,
    0x2019,
    0x201C,
    0x201D,
    0x2022,
    0x2013,
    0x2014,
    0x02DC,
    0x2122,
    0x0161,
    0x203A,
    0x0153,
    0x009D,
    0x017E,
    0x0178,
};

} // namespace

void XmlParserKind::Close(XML_ParserStruct* parser) { XML_ParserFree(parser); }

// expat's callbacks, handing each event to the reader. A failure of a handler stops the
// parser and is thrown again once the parser has returned.
struct XmlReader::Callbacks {
    template <typename Event> static void Dispatch(void* data, Event event)
    {
        auto& reader = *static_cast<XmlReader*>(data);
        if (reader.handlerFailure_)
            return;
        try {
            event(reader);
        } catch (...) {
            reader.handlerFailure_ = std::current_exception();
            XML_StopParser(reader.parser_.Get(), XML_FALSE);
        }
    }

    static void XMLCALL XmlDecl(void* data, const XML_Char* version, const XML_Char* encoding, int standalone)
    {
        Dispatch(data, [&](XmlReader& reader) {
            reader.declarationSeen_ = true;
            reader.OnXmlDecl(version, encoding, standalone);
        });
    }
    static void XMLCALL StartElement(void* data, const XML_Char* name, const XML_Char** attributes)
    {
        Dispatch(data, [&](XmlReader& reader) { reader.OnStartElement(name, attributes); });
    }
    static void XMLCALL EndElement(void* data, const XML_Char* name)
    {
        Dispatch(data, [&](XmlReader& reader) { reader.OnEndElement(name); });
    }
    static void XMLCALL CharacterData(void* data, const XML_Char* text, int length)
    {
        Dispatch(data, [&](XmlReader& reader) { reader.OnCharacterData(text, length); });
    }

    // Exactly "Windows-1252", as files written by Windows tools name it; any other encoding
    // that expat does not know fails the parse.
    static int XMLCALL UnknownEncoding(void*, const XML_Char* name, XML_Encoding* info)
    {
        if (std::strcmp(name, "Windows-1252") != 0)
            return XML_STATUS_ERROR;
        for (int byte = 0; byte < 256; ++byte)
            info->map[byte] = byte >= 0x80 && byte < 0xA0 ? kWindows1252High[byte - 0x80] : byte;
        info->data = nullptr;
        info->convert = nullptr;
        info->release = nullptr;
        return XML_STATUS_OK;
    }
};

XmlReader::XmlReader() = default;
XmlReader::~XmlReader() = default;

void XmlReader::OnXmlDecl(const char*, const char*, int) { }
void XmlReader::OnStartElement(const char*, const char**) { }
void XmlReader::OnEndElement(const char*) { }
void XmlReader::OnCharacterData(const char*, int) { }

void XmlReader::CreateParser()
{
    parser_.Reset();
    declarationSeen_ = false;
    handlerFailure_ = nullptr;
    parser_.Reset(XML_ParserCreate(nullptr));
    if (!parser_)
        throw Exception(kXmlParserLocation.file, kXmlParserLocation.line, IDS_XML_NO_MEMORY, path_);
    XML_Parser parser = parser_.Get();
    XML_SetUserData(parser, this);
    XML_SetXmlDeclHandler(parser, Callbacks::XmlDecl);
    XML_SetElementHandler(parser, Callbacks::StartElement, Callbacks::EndElement);
    XML_SetCharacterDataHandler(parser, Callbacks::CharacterData);
    XML_SetUnknownEncodingHandler(parser, Callbacks::UnknownEncoding, nullptr);
}

void XmlReader::Parse(const std::wstring& path)
{
    path_ = path;
    CreateParser();
    // The parser goes with the parse, whichever way it ends.
    struct FreeParser {
        XmlReader& reader;
        ~FreeParser() { reader.parser_.Reset(); }
    } freeParser{*this};
    ParseBlocks();
}

void XmlReader::ParseBlocks()
{
    const std::unique_ptr<XmlReaderFile> file = XmlReaderFile::Open(path_);
    if (!file)
        throw Exception(kXmlOpenLocation.file, kXmlOpenLocation.line, IDS_XML_CANNOT_OPEN, path_);
    XML_Parser parser = parser_.Get();
    for (bool last = false; !last;) {
        void* block = XML_GetBuffer(parser, kBlockSize);
        if (block == nullptr)
            throw Exception(kXmlBufferLocation.file, kXmlBufferLocation.line, IDS_XML_NO_MEMORY, path_);
        const std::optional<std::size_t> got = file->Read(block, kBlockSize);
        if (!got)
            throw Exception(kXmlReadLocation.file, kXmlReadLocation.line, IDS_XML_UNREADABLE, path_);
        last = *got < static_cast<std::size_t>(kBlockSize);
        if (XML_ParseBuffer(parser, static_cast<int>(*got), last) != XML_STATUS_ERROR)
            continue;
        if (handlerFailure_)
            std::rethrow_exception(handlerFailure_);
        XML_ParsingStatus status{};
        XML_GetParsingStatus(parser, &status);
        if (status.parsing == XML_FINISHED || status.parsing == XML_SUSPENDED)
            return;
        const std::wstring error = FromUtf8(XML_ErrorString(XML_GetErrorCode(parser))) + L", line " +
            std::to_wstring(XML_GetCurrentLineNumber(parser)) + L", column " +
            std::to_wstring(XML_GetCurrentColumnNumber(parser) + 1) + L", byte " +
            std::to_wstring(XML_GetCurrentByteIndex(parser));
        throw Exception(kXmlParseLocation.file, kXmlParseLocation.line, IDS_XML_NOT_VALID, path_, error);
    }
    if (handlerFailure_)
        std::rethrow_exception(handlerFailure_);
    // Deliberate: a document without a declaration is refused, so that a file of some
    // other kind is never taken for one of ours.
    if (!declarationSeen_)
        throw Exception(
            kXmlDeclarationLocation.file, kXmlDeclarationLocation.line, IDS_XML_NOT_VALID, path_, L"<?xml ... ?>");
}

} // namespace kw
