#pragma once
// Character encodings by code-page number and by name. UTF-8 and UTF-16 are the program's own;
// every other encoding is converted by the C library's iconv, whose name for it comes from a
// table of code-page numbers (1252 -> "WINDOWS-1252", 932 -> "CP932", ...) or, for a declared
// name the table does not know, is the declared name as it stands.

#include <string>
#include <string_view>

namespace xylem {

inline constexpr int kCodePageUTF8 = 65001;
inline constexpr int kCodePageUTF16LE = 1200;
inline constexpr int kCodePageUTF16BE = 1201;
// An encoding known only by its name (iconv accepts it, the table has no number for it).
inline constexpr int kCodePageNamed = 0;
// The marker code page of CyBinaryEncoding.
inline constexpr int kCodePageBinary = -1;

// Error code of an encoding that neither the table nor iconv knows.
inline constexpr int kErrorUnsupportedEncoding = 20;

// An encoding: a code page and the name used in messages (and given to iconv). Value type.
class CyEncoding {
 public:
  // UTF-8.
  CyEncoding() = default;
  CyEncoding(int CodePage, std::string Name) : CodePage_(CodePage), Name_(std::move(Name)) {}

  static CyEncoding UTF8() { return {kCodePageUTF8, "UTF-8"}; }
  static CyEncoding UTF16LE() { return {kCodePageUTF16LE, "UTF-16LE"}; }
  static CyEncoding UTF16BE() { return {kCodePageUTF16BE, "UTF-16BE"}; }
  // The encoding of a code-page number. Throws CyException (kErrorUnsupportedEncoding) for a
  // number that is not in the table or that iconv cannot convert.
  static CyEncoding FromCodePage(int CodePage);
  // The encoding of a name, compared without regard to case with the table's names and
  // aliases ("windows-1252", "ISO-8859-1", "Shift_JIS", "latin1", ...); any other name that
  // iconv accepts is kept as it stands with kCodePageNamed. Throws CyException
  // (kErrorUnsupportedEncoding) otherwise.
  static CyEncoding FromName(std::string_view Name);

  int getCodePage() const { return CodePage_; }
  const std::string& getName() const { return Name_; }
  bool IsBinary() const { return CodePage_ == kCodePageBinary; }
  // True for UTF-8, UTF-16LE and UTF-16BE, which are decoded without iconv.
  bool IsUnicode() const {
    return CodePage_ == kCodePageUTF8 || CodePage_ == kCodePageUTF16LE ||
           CodePage_ == kCodePageUTF16BE;
  }
  // The name to hand to iconv_open.
  std::string getIconvName() const;

  friend bool operator==(const CyEncoding& A, const CyEncoding& B) {
    return A.CodePage_ == B.CodePage_ && (A.CodePage_ != kCodePageNamed || A.Name_ == B.Name_);
  }

 private:
  int CodePage_ = kCodePageUTF8;
  std::string Name_ = "UTF-8";
};

// Marks a file that is treated as binary (it is refused by the loader).
class CyBinaryEncoding : public CyEncoding {
 public:
  CyBinaryEncoding() : CyEncoding(kCodePageBinary, "binary") {}
};

class CyCodePage {
 public:
  // The code page of the user's input: here the locale's character set (nl_langinfo(CODESET),
  // so US-ASCII until the program calls setlocale), UTF-8 when iconv lacks that set.
  static int GetKeyboardCodePage();
  // The encoding of GetKeyboardCodePage (a named encoding when the set has no number).
  static CyEncoding GetKeyboardEncoding();
};

}  // namespace xylem
