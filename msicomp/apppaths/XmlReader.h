#pragma once
// An event-driven reader of XML files over expat: Parse streams the file into the parser in
// blocks of 64 KiB and turns the parser's callbacks into the virtual calls below, so that a
// concrete reader overrides only the events it needs. Text arrives as UTF-8. Two policies of
// our own: a file must begin with an XML declaration, and "Windows-1252" is accepted besides
// the encodings that expat knows itself.
#include <exception>
#include <memory>
#include <string>

#include "util/HandleOwner.h"

struct XML_ParserStruct;

namespace kw {

// An expat parser, freed with XML_ParserFree.
struct XmlParserKind {
    using Handle = XML_ParserStruct*;
    static XML_ParserStruct* Empty() { return nullptr; }
    static void Close(XML_ParserStruct* parser);
};

class XmlReader {
public:
    XmlReader();
    virtual ~XmlReader();
    XmlReader(const XmlReader&) = delete;
    XmlReader& operator=(const XmlReader&) = delete;

    // Reads and parses the whole file, calling the handlers. Throws Exception on any failure:
    // a file that cannot be opened or read, a parser error, a document without a declaration,
    // or whatever a handler throws.
    void Parse(const std::wstring& path);

protected:
    virtual void OnXmlDecl(const char* version, const char* encoding, int standalone);
    // Attributes as the parser gives them: name, value, name, value, ..., then null.
    virtual void OnStartElement(const char* name, const char** attributes);
    virtual void OnEndElement(const char* name);
    virtual void OnCharacterData(const char* text, int length);

    const std::wstring& Path() const { return path_; }

private:
    struct Callbacks;
    void CreateParser();
    void ParseBlocks();

    std::wstring path_;
    HandleOwner<XmlParserKind> parser_;
    bool declarationSeen_ = false;
    // What a handler threw: expat's C frames are never unwound, so it waits here until the
    // parser has stopped.
    std::exception_ptr handlerFailure_;
};

} // namespace kw
