#include "text/Encoding.hpp"

#include <iconv.h>
#include <langinfo.h>

#include <cstring>

#include "common/Exception.hpp"

namespace xylem {

namespace {

struct TyCodePageName {
  int CodePage;
  const char* Name;   // the name in messages
  const char* Iconv;  // glibc's name
};

// The code pages a Windows user meets, with glibc's names for them.
constexpr TyCodePageName kCodePages[] = {
    {65001, "UTF-8", "UTF-8"},
    {1200, "UTF-16LE", "UTF-16LE"},
    {1201, "UTF-16BE", "UTF-16BE"},
    {12000, "UTF-32LE", "UTF-32LE"},
    {12001, "UTF-32BE", "UTF-32BE"},
    {65000, "UTF-7", "UTF-7"},
    {20127, "US-ASCII", "ASCII"},
    {437, "IBM437", "CP437"},
    {850, "IBM850", "CP850"},
    {852, "IBM852", "CP852"},
    {866, "IBM866", "CP866"},
    {874, "windows-874", "CP874"},
    {932, "Shift_JIS", "CP932"},
    {936, "GBK", "CP936"},
    {949, "ks_c_5601-1987", "CP949"},
    {950, "Big5", "CP950"},
    {1250, "windows-1250", "WINDOWS-1250"},
    {1251, "windows-1251", "WINDOWS-1251"},
    {1252, "windows-1252", "WINDOWS-1252"},
    {1253, "windows-1253", "WINDOWS-1253"},
    {1254, "windows-1254", "WINDOWS-1254"},
    {1255, "windows-1255", "WINDOWS-1255"},
    {1256, "windows-1256", "WINDOWS-1256"},
    {1257, "windows-1257", "WINDOWS-1257"},
    {1258, "windows-1258", "WINDOWS-1258"},
    {10000, "macintosh", "MACINTOSH"},
    {20866, "koi8-r", "KOI8-R"},
    {21866, "koi8-u", "KOI8-U"},
    {20932, "EUC-JP", "EUC-JP"},
    {51932, "euc-jp", "EUC-JP"},
    {51936, "EUC-CN", "EUC-CN"},
    {51949, "euc-kr", "EUC-KR"},
    {50220, "iso-2022-jp", "ISO-2022-JP"},
    {52936, "hz-gb-2312", "HZ"},
    {54936, "GB18030", "GB18030"},
    {28591, "ISO-8859-1", "ISO-8859-1"},
    {28592, "ISO-8859-2", "ISO-8859-2"},
    {28593, "ISO-8859-3", "ISO-8859-3"},
    {28594, "ISO-8859-4", "ISO-8859-4"},
    {28595, "ISO-8859-5", "ISO-8859-5"},
    {28596, "ISO-8859-6", "ISO-8859-6"},
    {28597, "ISO-8859-7", "ISO-8859-7"},
    {28598, "ISO-8859-8", "ISO-8859-8"},
    {28599, "ISO-8859-9", "ISO-8859-9"},
    {28603, "ISO-8859-13", "ISO-8859-13"},
    {28605, "ISO-8859-15", "ISO-8859-15"},
};

// Other spellings of the table's encodings, as met in declarations and locales.
struct TyCodePageAlias {
  const char* Alias;
  int CodePage;
};
constexpr TyCodePageAlias kAliases[] = {
    {"UTF8", 65001},     {"ASCII", 20127},     {"ANSI_X3.4-1968", 20127},
    {"latin1", 28591},   {"ISO8859-1", 28591}, {"ISO_8859-1", 28591},
    {"latin2", 28592},   {"ISO8859-2", 28592}, {"ISO8859-15", 28605},
    {"latin-9", 28605},  {"cp1250", 1250},     {"cp1251", 1251},
    {"cp1252", 1252},    {"cp1253", 1253},     {"cp1254", 1254},
    {"cp1255", 1255},    {"cp1256", 1256},     {"cp1257", 1257},
    {"cp1258", 1258},    {"Shift-JIS", 932},   {"SJIS", 932},
    {"cp932", 932},      {"windows-31j", 932}, {"cp936", 936},
    {"GB2312", 936},     {"cp949", 949},       {"cp950", 950},
    {"Big5-HKSCS", 950}, {"KOI8R", 20866},     {"KOI8U", 21866},
    {"EUCJP", 51932},    {"EUCKR", 51949},     {"cp437", 437},
    {"cp850", 850},      {"cp866", 866},
};

bool equalNoCase(std::string_view A, std::string_view B) {
  if (A.size() != B.size()) return false;
  for (size_t i = 0; i < A.size(); ++i) {
    char a = A[i], b = B[i];
    if (a >= 'A' && a <= 'Z') a = static_cast<char>(a - 'A' + 'a');
    if (b >= 'A' && b <= 'Z') b = static_cast<char>(b - 'A' + 'a');
    if (a != b) return false;
  }
  return true;
}

const TyCodePageName* findCodePage(int CodePage) {
  for (const auto& entry : kCodePages)
    if (entry.CodePage == CodePage) return &entry;
  return nullptr;
}

bool iconvKnows(const std::string& Name) {
  iconv_t converter = iconv_open("UTF-16LE", Name.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) return false;
  iconv_close(converter);
  return true;
}

[[noreturn]] void unsupported(std::string_view What) {
  throw CyException("The encoding \"" + std::string(What) + "\" is not supported.",
                    kErrorUnsupportedEncoding);
}

}  // namespace

CyEncoding CyEncoding::FromCodePage(int CodePage) {
  const TyCodePageName* entry = findCodePage(CodePage);
  if (!entry) unsupported(std::to_string(CodePage));
  CyEncoding encoding(entry->CodePage, entry->Name);
  if (!encoding.IsUnicode() && !iconvKnows(entry->Iconv)) unsupported(entry->Name);
  return encoding;
}

CyEncoding CyEncoding::FromName(std::string_view Name) {
  for (const auto& entry : kCodePages)
    if (equalNoCase(Name, entry.Name) || equalNoCase(Name, entry.Iconv))
      return FromCodePage(entry.CodePage);
  for (const auto& alias : kAliases)
    if (equalNoCase(Name, alias.Alias)) return FromCodePage(alias.CodePage);
  const std::string name(Name);
  if (name.empty() || !iconvKnows(name)) unsupported(name);
  return CyEncoding(kCodePageNamed, name);
}

std::string CyEncoding::getIconvName() const {
  if (const TyCodePageName* entry = findCodePage(CodePage_)) return entry->Iconv;
  return Name_;
}

int CyCodePage::GetKeyboardCodePage() { return GetKeyboardEncoding().getCodePage(); }

CyEncoding CyCodePage::GetKeyboardEncoding() {
  const char* set = nl_langinfo(CODESET);
  if (!set || !*set) return CyEncoding::UTF8();
  try {
    return CyEncoding::FromName(set);
  } catch (const CyException&) {
    return CyEncoding::UTF8();
  }
}

}  // namespace xylem
