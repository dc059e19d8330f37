#include <gtest/gtest.h>

#include "common/Exception.hpp"
#include "text/EncodingDetector.hpp"

namespace xylem {

namespace {

std::string utf16le(std::string_view ASCII, bool Mark) {
  std::string bytes = Mark ? "\xFF\xFE" : "";
  for (char c : ASCII) bytes += c, bytes += '\0';
  return bytes;
}

std::string utf16be(std::string_view ASCII, bool Mark) {
  std::string bytes = Mark ? "\xFE\xFF" : "";
  for (char c : ASCII) bytes += '\0', bytes += c;
  return bytes;
}

struct TyDetected {
  std::string error;
  CyEncoding encoding;
  bool hasBOM = false;
  bool fixed = false;
  size_t position = 0;
};

TyDetected detect(const std::string& Bytes, std::string_view URL = "a.xml") {
  TyDetected result;
  CyRewindableInputStream stream(reinterpret_cast<const uint8_t*>(Bytes.data()), Bytes.size());
  stream.setPosition(Bytes.size());  // detection must rewind by itself
  try {
    CyEncodingDetector::DetectEncodingAndSkipBOM(URL, stream, result.hasBOM, result.encoding,
                                                 result.fixed);
  } catch (const CyException& error) {
    result.error = error.getMessage();
  }
  result.position = stream.getPosition();
  return result;
}

}  // namespace

TEST(EncodingDetection, MarksDeclarationsAndDefaults) {
  struct Row {
    std::string bytes;
    std::string url;
    std::string encoding;  // name, or the error message
    bool hasBOM, fixed;
    size_t position;
  };
  const std::string decl16 = "<?xml version=\"1.0\" encoding=\"UTF-16\"?><a/>";
  const Row rows[] = {
      {"<a/>", "a.xml", "UTF-8", false, false, 0},
      {"", "a.xml", "UTF-8", false, false, 0},
      {"\xEF\xBB\xBF<a/>", "a.xml", "UTF-8", true, false, 3},
      {utf16le("<a/>", true), "a.xml", "UTF-16LE", true, false, 2},
      {utf16be("<a/>", true), "a.xml", "UTF-16BE", true, false, 2},
      {"<?xml version=\"1.0\"?><a/>", "a.xml", "UTF-8", false, false, 0},
      {"<?xml version=\"1.0\" encoding=\"utf-8\"?>", "a.xml", "UTF-8", false, true, 0},
      {"<?xml version='1.0' encoding='windows-1252'?>", "a.xml", "windows-1252", false, true, 0},
      {"<?xml version=\"1.0\" encoding=\"latin1\"?>", "a.xml", "ISO-8859-1", false, true, 0},
      {"\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", "a.xml", "UTF-8", true, true,
       3},
      {utf16le(decl16, true), "a.xml", "UTF-16LE", true, false, 2},
      {utf16be(decl16, true), "a.xml", "UTF-16BE", true, false, 2},
      {utf16le(decl16, false), "a.xml", "Mandatory BOM (Byte Order Mark) is missing.", false, false,
       0},
      {utf16le("<?xml version=\"1.0\" encoding=\"UTF-16BE\"?>", true), "a.xml",
       "Character encoding conflict between BOM (UTF-16LE) and encoding (UTF-16BE).", false, false,
       0},
      {utf16be("<?xml version=\"1.0\" encoding=\"utf-16be\"?>", true), "a.xml", "UTF-16BE", true,
       true, 2},
      {utf16le("<?xml version=\"1.0\" encoding=\"UTF-16LE\"?>", false), "a.xml",
       "Mandatory BOM (Byte Order Mark) is missing.", false, false, 0},
      {"\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-16\"?>", "a.xml",
       "Character encoding conflict between BOM (UTF-8) and encoding (UTF-16).", false, false, 0},
      {utf16le("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", true), "a.xml", "UTF-16LE", true, true,
       2},
      // No blank after "<?xml": no declaration at all.
      {"<?xml?><a/>", "a.xml", "UTF-8", false, false, 0},
      {"<?xml\nversion=\"1.0\" encoding=\"bogus\"?>", "a.xml", "UTF-8", false, false, 0},
      {"<?xml version=\"1.0\" encoding=\"no-such-set\"?>", "a.xml",
       "The encoding \"no-such-set\" is not supported.", false, false, 0},
      // DTD files read a text declaration (version optional).
      {"<?xml encoding=\"ISO-8859-2\"?><!ENTITY a 'b'>", "x.DTD", "ISO-8859-2", false, true, 0},
      // A malformed XML declaration (the check reports it) still names the encoding.
      {"<?xml encoding=\"ISO-8859-2\"?>", "x.xml", "ISO-8859-2", false, true, 0},
      {"<?xml version=\"1.1\" standalone=\"x\"?>", "x.xml", "UTF-8", false, false, 0},
      {"<!ENTITY a 'b'>", "x.ent", "UTF-8", false, false, 0},
      // Binary extensions, lower-cased first; a mark still wins.
      {"\x89PNG", "picture.PNG", "binary", false, false, 0},
      {"abc", "C:\\dir\\.DS_Store", "binary", false, false, 0},
      {"\xEF\xBB\xBFtext", "x.png", "UTF-8", true, false, 3},
  };
  for (const Row& row : rows) {
    const TyDetected result = detect(row.bytes, row.url);
    if (!result.error.empty()) {
      EXPECT_EQ(result.error, row.encoding) << row.bytes;
      continue;
    }
    EXPECT_EQ(result.encoding.getName(), row.encoding) << row.bytes;
    EXPECT_EQ(result.hasBOM, row.hasBOM) << row.bytes;
    EXPECT_EQ(result.fixed, row.fixed) << row.bytes;
    EXPECT_EQ(result.position, row.position) << row.bytes;
  }
}

TEST(EncodingDetection, DeclarationGrammarMessages) {
  struct Row {
    std::string text;
    std::string message;
    size_t position;
  };
  const Row rows[] = {
      {"<?xml version=\"1.0\"?>", "", 0},
      {"<?xml version=\"1.0\" encoding=\"UTF-8\" standalone='yes' ?>", "", 0},
      {"<?xml version = '1.0'standalone=\"no\"?>",
       "Whitespace is required before the standalone pseudo attribute.", 22},
      {"<?xml version=1.0?>", "The value following \"version\" must be a quoted string.", 15},
      {"<?xml version=\"1.1\"?>", "The version value must be \"1.0\".", 15},
      {"<?xml version=\"1.0\" standalone=maybe?>",
       "The value following \"standalone\" must be a quoted string.", 32},
      {"<?xml version=\"1.0\" standalone=\"maybe\"?>",
       "The standalone value must be \"yes\" or \"no\".", 32},
      {"<?xml version=\"1.0\"encoding=\"UTF-8\"?>",
       "Whitespace is required before the encoding pseudo attribute.", 20},
      {"<?xml version=\"1.0\" encoding=UTF-8?>",
       "The value following \"encoding\" must be a quoted string.", 30},
      {"<?xml version=\"1.0\" encoding=\"\"?>", "The encoding value is invalid.", 30},
      {"<?xml version=\"1.0\" encoding=\"8bit\"?>", "The encoding value is invalid.", 30},
      {"<?xml version=\"1.0\" encoding=\"UTF-8\"", "Expected \"?>\".", 37},
      {"<?xml versio=\"1.0\"?>", "Expected \"version\".", 7},
      {"<?xml version \"1.0\"?>", "Expected \"=\".", 15},
      {"<?xml version=\"1.0?>", "Expected \"\"\".", 21},
      {"<?xml version=\"1.0\" foo=\"bar\"?>", "Expected \"?>\".", 21},
  };
  for (const Row& row : rows) {
    TyDeclaration declaration;
    try {
      EXPECT_TRUE(CyXMLDeclParser::ParseASCII(row.text, declaration));
      EXPECT_EQ(row.message, "") << row.text;
      EXPECT_EQ(declaration.Version, "1.0");
    } catch (const CyDeclException& error) {
      EXPECT_EQ(std::string(error.getMessage()), row.message) << row.text;
      EXPECT_EQ(error.getPosition(), row.position) << row.text;
      EXPECT_EQ(error.getCode(), kErrorDeclaration);
    }
  }
  // The wide parser follows the same rules.
  EXPECT_EQ(CyDeclParserWS(u"<?xml version='1.0' encoding='EUC-JP'?>").Rule_23_XMLDecl().Encoding,
            "EUC-JP");
  EXPECT_THROW(CyDeclParserWS(u"<?xml version='2.0'?>").Rule_23_XMLDecl(), CyDeclException);
  // Text declarations: version optional, encoding required.
  TyDeclaration declaration;
  EXPECT_TRUE(CyTextDeclParser::ParseASCII("<?xml version='1.0' encoding='UTF-8'?>", declaration));
  EXPECT_EQ(declaration.Encoding, "UTF-8");
  EXPECT_THROW(CyTextDeclParser::ParseASCII("<?xml version='1.0'?>", declaration), CyDeclException);
  EXPECT_FALSE(CyXMLDeclParser::ParseASCII("<root/>", declaration));
  EXPECT_EQ(declaration.Version, "");
}

TEST(EncodingDetection, SolverTable) {
  struct Row {
    std::string mark, declared;
    std::string result;
    bool fixed;
  };
  const Row rows[] = {
      {"UTF-16LE", "", "UTF-16LE", false},
      {"UTF-8", "", "UTF-8", false},
      {"", "", "", false},  // not solved
      {"", "UTF-8", "UTF-8", true},
      {"UTF-8", "utf-8", "UTF-8", true},
      {"UTF-16BE", "UTF-8", "UTF-16BE", true},
      {"UTF-16BE", "utf-16", "UTF-16BE", false},
      {"UTF-16LE", "UTF-16LE", "UTF-16LE", true},
      {"UTF-8", "UTF-16LE",
       "!Character encoding conflict between BOM (UTF-8) and encoding (UTF-16LE).", false},
      {"", "UTF-16BE", "!Mandatory BOM (Byte Order Mark) is missing.", false},
      {"", "Shift_JIS", "Shift_JIS", true},
      {"", "CP1252", "windows-1252", true},
      {"UTF-16LE", "ISO-8859-1", "UTF-16LE", true},
  };
  for (const Row& row : rows) {
    CyEncoding encoding(12345, "untouched");
    bool fixed = false;
    try {
      const bool solved = CyEncodingSolver::SolveEncoding(row.mark, row.declared, encoding, fixed);
      EXPECT_EQ(solved, !row.result.empty()) << row.mark << "/" << row.declared;
      if (solved) {
        EXPECT_EQ(encoding.getName(), row.result) << row.mark << "/" << row.declared;
      }
      EXPECT_EQ(fixed, row.fixed) << row.mark << "/" << row.declared;
    } catch (const CyException& error) {
      EXPECT_EQ("!" + std::string(error.getMessage()), row.result);
      EXPECT_EQ(error.getCode(), kErrorEncodingConflict);
    }
  }
}

TEST(EncodingDetection, FileTypesAndCodePages) {
  const char* binary[] = {".7z",         ".arsc", ".avi", ".bmp",  ".bpl",  ".bup", ".class",
                          ".crdownload", ".db",   ".dcp", ".dcu",  ".dll",  ".doc", ".ds_store",
                          ".exe",        ".gif",  ".ifo", ".itc2", ".itdb", ".itl", ".jpg",
                          ".lib",        ".mp4",  ".mrc", ".mts",  ".obj",  ".pak", ".pdf",
                          ".pfx",        ".png",  ".rar", ".res",  ".rtf",  ".tlb", ".ttf",
                          ".svm",        ".xls",  ".zip"};
  EXPECT_EQ(std::size(binary), 38u);
  for (const char* extension : binary) {
    EXPECT_TRUE(CyFiletypeByFileExt::IsBinary(std::string("dir.x/file") + extension)) << extension;
    std::string upper = extension;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_TRUE(CyFiletypeByFileExt::IsBinary("file" + upper)) << upper;
  }
  for (const char* text : {"a.xml", "a.xlsx", "a.docx", "png", "a.png.xml", "dir.png/file"})
    EXPECT_FALSE(CyFiletypeByFileExt::IsBinary(text)) << text;
  EXPECT_TRUE(CyFiletypeByFileExt::IsDTD("a/b.Mod"));
  EXPECT_TRUE(CyFiletypeByFileExt::IsJSON("a.json"));
  EXPECT_TRUE(CyFiletypeByFileExt::IsRelaxNCSchema("a.rnc"));

  EXPECT_EQ(CyEncoding::FromCodePage(932).getIconvName(), "CP932");
  EXPECT_EQ(CyEncoding::FromName("shift_jis").getCodePage(), 932);
  EXPECT_EQ(CyEncoding::FromName("ISO-8859-15").getCodePage(), 28605);
  EXPECT_EQ(CyEncoding::FromName("IBM037").getCodePage(), kCodePageNamed);  // iconv knows it as is
  EXPECT_THROW(CyEncoding::FromCodePage(4242), CyException);

  bool hasBOM = true, fixed = false;
  CyEncoding encoding(12345, "x");
  CyEncodingDetector::DefaultTextEncoding(hasBOM, encoding, fixed);
  EXPECT_FALSE(hasBOM);
  EXPECT_TRUE(fixed);
  EXPECT_NE(encoding.getCodePage(), 12345);
  CyEncodingDetector::DefaultXMLEncoding(hasBOM, encoding, fixed);
  EXPECT_EQ(encoding, CyEncoding::UTF8());
  EXPECT_FALSE(fixed);
}

}  // namespace xylem
