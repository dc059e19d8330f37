#include "text/DeclParser.hpp"

#include "text/ByteOrderMark.hpp"

namespace xylem {

namespace {

constexpr size_t kDeclarationLimit = 1024;

template <typename Char>
bool isWhitespace(Char C) {
  return C == 0x20 || C == 0x09 || C == 0x0D || C == 0x0A;
}

template <typename Char>
bool isEncodingNameChar(Char C, bool First) {
  const bool letter = (C >= 'A' && C <= 'Z') || (C >= 'a' && C <= 'z');
  if (First) return letter;
  return letter || (C >= '0' && C <= '9') || C == '.' || C == '_' || C == '-';
}

}  // namespace

int CyASCIIInputStreamFromEncodedDoubleByteBEInputStream::ReadChar() {
  if (Stream_.getPosition() + 2 > End_) return -1;
  const int high = Stream_.ReadByte();
  const int low = Stream_.ReadByte();
  return high < 0 || low < 0 ? -1 : low;
}

int CyASCIIInputStreamFromEncodedDoubleByteLEInputStream::ReadChar() {
  if (Stream_.getPosition() + 2 > End_) return -1;
  const int low = Stream_.ReadByte();
  const int high = Stream_.ReadByte();
  return high < 0 || low < 0 ? -1 : low;
}

CyASCIIInputStreamFromEncodedRewindableInputStream::
    CyASCIIInputStreamFromEncodedRewindableInputStream(CyRewindableInputStream& Stream,
                                                       size_t Limit)
    : Stream_(Stream) {
  std::string mark;
  CyBOMDetector::RewindAndSkipBOM(Stream, mark);
  const size_t start = Stream.getPosition();
  const int first = Stream.ReadByte();
  const int second = Stream.ReadByte();
  Stream.setPosition(start);
  if (first == 0 && second >= 0)
    DoubleByte_ =
        std::make_unique<CyASCIIInputStreamFromEncodedDoubleByteBEInputStream>(Stream, Limit);
  else if (second == 0)
    DoubleByte_ =
        std::make_unique<CyASCIIInputStreamFromEncodedDoubleByteLEInputStream>(Stream, Limit);
  End_ = start + Limit;
}

int CyASCIIInputStreamFromEncodedRewindableInputStream::ReadChar() {
  if (DoubleByte_) return DoubleByte_->ReadChar();
  return Stream_.getPosition() < End_ ? Stream_.ReadByte() : -1;
}

template <typename Char>
bool CyDeclParserT<Char>::skipWhitespace() {
  const size_t start = Position_;
  while (Position_ < Text_.size() && isWhitespace(Text_[Position_])) ++Position_;
  return Position_ > start;
}

template <typename Char>
bool CyDeclParserT<Char>::lookingAt(std::string_view Literal) const {
  if (Text_.size() - Position_ < Literal.size()) return false;
  for (size_t i = 0; i < Literal.size(); ++i)
    if (Text_[Position_ + i] != static_cast<Char>(static_cast<unsigned char>(Literal[i])))
      return false;
  return true;
}

template <typename Char>
void CyDeclParserT<Char>::expect(std::string_view Literal) {
  if (!lookingAt(Literal)) fail("Expected \"" + std::string(Literal) + "\".");
  Position_ += Literal.size();
}

template <typename Char>
bool CyDeclParserT<Char>::follows(std::string_view Name) {
  const size_t start = Position_;
  skipWhitespace();
  const bool found = lookingAt(Name);
  Position_ = start;
  return found;
}

template <typename Char>
std::string CyDeclParserT<Char>::quotedValue(const char* NotQuoted) {
  if (Position_ >= Text_.size() || (Text_[Position_] != '"' && Text_[Position_] != '\''))
    fail(NotQuoted);
  const Char quote = Text_[Position_++];
  std::string value;
  while (Position_ < Text_.size() && Text_[Position_] != quote) {
    const Char c = Text_[Position_++];
    // Declarations are ASCII; anything else cannot match a valid value and is kept as '?'.
    value.push_back(c > 0 && c < 0x80 ? static_cast<char>(c) : '?');
  }
  expect(quote == '"' ? "\"" : "'");
  return value;
}

template <typename Char>
void CyDeclParserT<Char>::Rule_25_Eq() {
  skipWhitespace();
  expect("=");
  skipWhitespace();
}

template <typename Char>
void CyDeclParserT<Char>::Rule_24_VersionInfo(TyDeclaration& Result) {
  if (!skipWhitespace()) fail("Whitespace is required before the version pseudo attribute.");
  expect("version");
  Rule_25_Eq();
  const size_t valueStart = Position_;
  Result.Version = quotedValue("The value following \"version\" must be a quoted string.");
  if (Result.Version != "1.0") {
    Position_ = valueStart;
    fail("The version value must be \"1.0\".");
  }
}

template <typename Char>
void CyDeclParserT<Char>::Rule_80_EncodingDecl(TyDeclaration& Result) {
  if (!skipWhitespace()) fail("Whitespace is required before the encoding pseudo attribute.");
  expect("encoding");
  Rule_25_Eq();
  const size_t valueStart = Position_;
  Result.Encoding = quotedValue("The value following \"encoding\" must be a quoted string.");
  bool valid = !Result.Encoding.empty();
  for (size_t i = 0; valid && i < Result.Encoding.size(); ++i)
    valid = isEncodingNameChar(Result.Encoding[i], i == 0);
  if (!valid) {
    Position_ = valueStart;
    fail("The encoding value is invalid.");
  }
}

template <typename Char>
void CyDeclParserT<Char>::Rule_32_SDDecl(TyDeclaration& Result) {
  if (!skipWhitespace()) fail("Whitespace is required before the standalone pseudo attribute.");
  expect("standalone");
  Rule_25_Eq();
  const size_t valueStart = Position_;
  Result.Standalone = quotedValue("The value following \"standalone\" must be a quoted string.");
  if (Result.Standalone != "yes" && Result.Standalone != "no") {
    Position_ = valueStart;
    fail("The standalone value must be \"yes\" or \"no\".");
  }
}

template <typename Char>
TyDeclaration CyDeclParserT<Char>::Rule_23_XMLDecl() {
  TyDeclaration result;
  Position_ = 0;
  expect("<?xml");
  Rule_24_VersionInfo(result);
  if (follows("encoding")) Rule_80_EncodingDecl(result);
  if (follows("standalone")) Rule_32_SDDecl(result);
  skipWhitespace();
  expect("?>");
  return result;
}

template <typename Char>
TyDeclaration CyDeclParserT<Char>::Rule_77_TextDecl() {
  TyDeclaration result;
  Position_ = 0;
  expect("<?xml");
  if (follows("version")) Rule_24_VersionInfo(result);
  Rule_80_EncodingDecl(result);
  skipWhitespace();
  expect("?>");
  return result;
}

template class CyDeclParserT<char>;
template class CyDeclParserT<char16_t>;

std::string ReadDeclarationText(CyRewindableInputStream& Stream, std::string& BOMEncoding,
                                bool& HasBOM) {
  std::string text;
  {
    CyASCIIInputStreamFromEncodedRewindableInputStream view(Stream, kDeclarationLimit);
    while (text.size() < kDeclarationLimit) {
      const int c = view.ReadChar();
      if (c < 0) break;
      text.push_back(static_cast<char>(c));
      if (c == '>') break;
    }
  }
  CyBOMDetector::RewindAndSkipBOM(Stream, BOMEncoding);
  HasBOM = !BOMEncoding.empty();
  return text;
}

namespace {

bool startsDeclaration(std::string_view Text) { return Text.substr(0, 6) == "<?xml "; }

}  // namespace

bool CyXMLDeclParser::ParseASCII(std::string_view Text, TyDeclaration& Result) {
  Result = {};
  if (!startsDeclaration(Text)) return false;
  Result = CyDeclParserAS(Text).Rule_23_XMLDecl();
  return true;
}

bool CyXMLDeclParser::ParseBufferedInputStream(CyBufferedInputStream& Stream, TyDeclaration& Result,
                                               std::string& BOMEncoding, bool& HasBOM) {
  return ParseASCII(ReadDeclarationText(Stream, BOMEncoding, HasBOM), Result);
}

bool CyTextDeclParser::ParseASCII(std::string_view Text, TyDeclaration& Result) {
  Result = {};
  if (!startsDeclaration(Text)) return false;
  Result = CyDeclParserAS(Text).Rule_77_TextDecl();
  return true;
}

bool CyTextDeclParser::ParseBufferedInputStream(CyBufferedInputStream& Stream,
                                                TyDeclaration& Result, std::string& BOMEncoding,
                                                bool& HasBOM) {
  return ParseASCII(ReadDeclarationText(Stream, BOMEncoding, HasBOM), Result);
}

}  // namespace xylem
