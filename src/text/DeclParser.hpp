#pragma once
// The XML declaration and the text declaration of external DTD parts, read before a load to
// learn the declared encoding. The declaration is read through an ASCII view of the first
// bytes that hides whether they are single-byte or UTF-16 in either order.

#include <memory>
#include <string>
#include <string_view>

#include "common/Exception.hpp"
#include "text/InputStream.hpp"

namespace xylem {

// Error code of a malformed declaration.
inline constexpr int kErrorDeclaration = 18;

// A malformed declaration: the message and the 1-based character position in the
// declaration where the rule failed.
class CyDeclException : public CyException {
 public:
  CyDeclException(const std::string& Message, size_t Position)
      : CyException(Message, kErrorDeclaration), Position_(Position) {}
  size_t getPosition() const { return Position_; }

 private:
  size_t Position_;
};

// The pseudo-attributes of a declaration, each empty when absent.
struct TyDeclaration {
  std::string Version;
  std::string Encoding;
  std::string Standalone;
};

// Characters of the input as ASCII, one per byte or per two-byte unit (its low byte);
// ReadChar returns -1 at the end.
class CyASCIIInputStream {
 public:
  virtual ~CyASCIIInputStream() = default;
  virtual int ReadChar() = 0;
};

// Two-byte big-endian units: the second byte of each pair.
class CyASCIIInputStreamFromEncodedDoubleByteBEInputStream : public CyASCIIInputStream {
 public:
  CyASCIIInputStreamFromEncodedDoubleByteBEInputStream(CyRewindableInputStream& Stream,
                                                       size_t Limit)
      : Stream_(Stream), End_(Stream.getPosition() + Limit) {}
  int ReadChar() override;

 private:
  CyRewindableInputStream& Stream_;
  size_t End_;
};

// Two-byte little-endian units: the first byte of each pair.
class CyASCIIInputStreamFromEncodedDoubleByteLEInputStream : public CyASCIIInputStream {
 public:
  CyASCIIInputStreamFromEncodedDoubleByteLEInputStream(CyRewindableInputStream& Stream,
                                                       size_t Limit)
      : Stream_(Stream), End_(Stream.getPosition() + Limit) {}
  int ReadChar() override;

 private:
  CyRewindableInputStream& Stream_;
  size_t End_;
};

// The view that detection uses: skips any byte-order mark, reads the first two bytes (a zero
// first byte selects big-endian units, a zero second byte little-endian units, otherwise
// single bytes), steps back behind the mark and reads at most Limit bytes from there.
class CyASCIIInputStreamFromEncodedRewindableInputStream : public CyASCIIInputStream {
 public:
  CyASCIIInputStreamFromEncodedRewindableInputStream(CyRewindableInputStream& Stream, size_t Limit);
  int ReadChar() override;

 private:
  CyRewindableInputStream& Stream_;
  size_t End_ = 0;
  std::unique_ptr<CyASCIIInputStream> DoubleByte_;
};
using CyASCIIInputStreamFromEncodedBufferedInputStream =
    CyASCIIInputStreamFromEncodedRewindableInputStream;

// The grammar of both declarations, after the XML recommendation's productions, over narrow
// (AS) or wide (WS) text. Each rule throws CyDeclException with the exact message of the
// failed check.
template <typename Char>
class CyDeclParserT {
 public:
  explicit CyDeclParserT(std::basic_string_view<Char> Text) : Text_(Text) {}
  // '<?xml' VersionInfo EncodingDecl? SDDecl? S? '?>'
  TyDeclaration Rule_23_XMLDecl();
  // '<?xml' VersionInfo? EncodingDecl S? '?>'
  TyDeclaration Rule_77_TextDecl();

 private:
  void Rule_24_VersionInfo(TyDeclaration& Result);
  void Rule_25_Eq();
  void Rule_32_SDDecl(TyDeclaration& Result);
  void Rule_80_EncodingDecl(TyDeclaration& Result);
  // S?, true when something was skipped.
  bool skipWhitespace();
  // True when the text at the position is Literal (the position is not moved).
  bool lookingAt(std::string_view Literal) const;
  void expect(std::string_view Literal);
  // A quoted value; NotQuoted is the message when no quote follows.
  std::string quotedValue(const char* NotQuoted);
  // The optional pseudo-attribute named Name: whitespace, then Name. Leaves the position
  // unchanged and returns false when it does not follow.
  bool follows(std::string_view Name);
  [[noreturn]] void fail(const std::string& Message) const {
    throw CyDeclException(Message, Position_ + 1);
  }

  std::basic_string_view<Char> Text_;
  size_t Position_ = 0;
};
using CyDeclParserAS = CyDeclParserT<char>;
using CyDeclParserWS = CyDeclParserT<char16_t>;

// Reads the XML declaration at the start of a stream. Each Parse* returns true when the text
// begins with "<?xml " (blank included) and the declaration parsed; Result is empty otherwise.
// The stream parsers leave the stream just behind any byte-order mark, set BOMEncoding ("",
// "UTF-8", "UTF-16LE" or "UTF-16BE") and HasBOM. Malformed declarations throw CyDeclException.
class CyXMLDeclParser {
 public:
  static bool ParseBufferedInputStream(CyBufferedInputStream& Stream, TyDeclaration& Result,
                                       std::string& BOMEncoding, bool& HasBOM);
  static bool ParseRewindableInputStream(CyRewindableInputStream& Stream, TyDeclaration& Result,
                                         std::string& BOMEncoding, bool& HasBOM) {
    return ParseBufferedInputStream(Stream, Result, BOMEncoding, HasBOM);
  }
  static bool ParseASCII(std::string_view Text, TyDeclaration& Result);
};

// The same for the text declaration of a DTD file (version optional, encoding required).
class CyTextDeclParser {
 public:
  static bool ParseBufferedInputStream(CyBufferedInputStream& Stream, TyDeclaration& Result,
                                       std::string& BOMEncoding, bool& HasBOM);
  static bool ParseRewindableInputStream(CyRewindableInputStream& Stream, TyDeclaration& Result,
                                         std::string& BOMEncoding, bool& HasBOM) {
    return ParseBufferedInputStream(Stream, Result, BOMEncoding, HasBOM);
  }
  static bool ParseASCII(std::string_view Text, TyDeclaration& Result);
};

// Collects the declaration's characters from the start of Stream: at most 1024 bytes, up to
// and including the first '>'. Leaves the stream behind any byte-order mark.
std::string ReadDeclarationText(CyRewindableInputStream& Stream, std::string& BOMEncoding,
                                bool& HasBOM);

}  // namespace xylem
