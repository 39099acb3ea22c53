#include <gtest/gtest.h>

#include <string>

#include "TemporaryFolder.h"
#include "core/Exception.h"
#include "msicomp/apppaths/XmlReader.h"

namespace kw {

namespace {

// Records every element and all character data; the path variables file shows the everyday
// reading of elements and attributes.
class RecordingReader : public XmlReader {
public:
    std::string events;
    std::string text;

protected:
    void OnXmlDecl(const char* version, const char* encoding, int) override
    {
        events += std::string("decl ") + version + " " + (encoding != nullptr ? encoding : "-") + ";";
    }
    void OnStartElement(const char* name, const char** attributes) override
    {
        events += std::string("<") + name;
        for (; attributes[0] != nullptr; attributes += 2)
            events += std::string(" ") + attributes[0] + "=" + attributes[1];
        events += ">";
    }
    void OnEndElement(const char* name) override { events += std::string("</") + name + ">"; }
    void OnCharacterData(const char* data, int length) override { text.append(data, static_cast<size_t>(length)); }
};

std::wstring Write(const TemporaryFolder& folder, std::string_view bytes)
{
    std::wstring file = folder / L"file.xml";
    EXPECT_TRUE(ReplaceFileBytes(file, bytes));
    return file;
}

// The message and line of the exception that parsing the file throws.
std::pair<std::wstring, int> ParseFailure(const std::wstring& file)
{
    try {
        RecordingReader reader;
        reader.Parse(file);
    } catch (const Exception& error) {
        EXPECT_EQ(error.File(), L"..\\os\\XmlReader.cpp");
        return {error.Message(), error.Line()};
    }
    ADD_FAILURE() << "the file was accepted";
    return {};
}

TEST(XmlReader, ReadsWindows1252ButNoOtherUnknownEncoding)
{
    const TemporaryFolder folder;
    RecordingReader reader;
    reader.Parse(Write(folder, "<?xml version=\"1.0\" encoding=\"Windows-1252\"?><a n=\"\x80\">\x93\xE9\x81</a>"));
    EXPECT_EQ(reader.events, "decl 1.0 Windows-1252;<a n=\xE2\x82\xAC></a>");
    EXPECT_EQ(reader.text, "\xE2\x80\x9C\xC3\xA9\xC2\x81");

    const std::wstring file = Write(folder, R"(<?xml version="1.0" encoding="Windows-1250"?><a/>)");
    EXPECT_EQ(ParseFailure(file),
        std::make_pair(L"The XML file " + file + L" is not valid: unknown encoding, line 1, column 31, byte 30.", 101));
}

TEST(XmlReader, BlockOfExactlySixtyFourKibibytesIsFollowedByAnEmptyLastBlock)
{
    const TemporaryFolder folder;
    std::string document = "<?xml version=\"1.0\"?><a>";
    const std::string end = "</a>";
    document += std::string(65536 - document.size() - end.size(), 'x') + end;
    ASSERT_EQ(document.size(), 65536u);
    RecordingReader reader;
    reader.Parse(Write(folder, document));
    EXPECT_EQ(reader.text, std::string(65536 - 28, 'x'));

    // One byte more, and the last block holds the end of the document.
    document.insert(24, "y");
    RecordingReader longer;
    longer.Parse(Write(folder, document));
    EXPECT_EQ(longer.text, "y" + std::string(65536 - 28, 'x'));
}

TEST(XmlReader, RefusesMissingEmptyUndeclaredAndMalformedFiles)
{
    const TemporaryFolder folder;
    const std::wstring missing = folder / L"missing.xml";
    EXPECT_EQ(ParseFailure(missing), std::make_pair(L"The XML file " + missing + L" could not be opened.", 58));

    std::wstring file = Write(folder, "");
    EXPECT_EQ(ParseFailure(file),
        std::make_pair(L"The XML file " + file + L" is not valid: no element found, line 1, column 1, byte 0.", 101));

    file = Write(folder, "<a/>");
    EXPECT_EQ(ParseFailure(file), std::make_pair(L"The XML file " + file + L" is not valid: <?xml ... ?>.", 115));

    file = Write(folder, "<?xml version=\"1.0\"?>\n<a>\n  <b></a>");
    EXPECT_EQ(ParseFailure(file),
        std::make_pair(L"The XML file " + file + L" is not valid: mismatched tag, line 3, column 8, byte 33.", 101));
}

} // namespace
} // namespace kw
