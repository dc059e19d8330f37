#pragma once
// Helpers shared by the formatter tests: formatting UTF-8 text under option bits, and a
// libxml2 view of a document's content for comparing documents before and after formatting.

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace xylem::test {

// Documents with every kind of node in every position: one-line, badly indented, mixed
// content, preserved, comments and PIs, CDATA, deep, tabs and CR LF.
const std::vector<std::string>& VariedDocuments();

// Lines that end with ">" followed by lines that begin with "<", inside and outside markup,
// where a document read in pieces may be cut; and a document of Fragments of them picked at
// random inside a root.
inline constexpr size_t kFragmentCount = 10;
extern const char* const kFragments[kFragmentCount];
std::string RandomFragmentDocument(std::mt19937& Random, int Fragments);

// Doc with one character at a random place removed (Round odd) or doubled (Round even): every
// kind of construct ends up cut short or doubled somewhere over a few rounds. Doc not empty.
std::string BrokenCopy(const std::string& Doc, std::mt19937& Random, int Round);

// Documents the formatter refuses, with the fault where a read in pieces may meet it late: tags
// crossed across lines, a second root, text or a reference after the root, an unclosed root, an
// end tag first, no root, an attribute without a value, a name holding "/", an end tag with an
// attribute and "/>".
const std::vector<std::string>& BrokenDocuments();

// Formats Text (UTF-8, LF or CR LF line ends) with the option sets given as bits (bit i:
// value i of the enumeration) and the default word lists. The result has its CR LF line
// breaks turned into "\n"; a line feed the writer wrote without its CR fails the test.
std::string FormatXML(const std::string& Text, uint32_t FormattingBits, uint32_t LayoutBits,
                      const std::u16string& ExtraIndent = u"");

// The document's content as libxml2 parses it (entities substituted): elements with their
// attributes (values with white space runs made one space), comments, PIs, and the text of
// each run of adjacent text and CDATA with white space runs made one space and trimmed;
// white-space-only runs dropped. Empty string with an error text when libxml2 refuses it.
std::string ContentOf(const std::string& Text, std::string* Error = nullptr);

// A whole file's bytes; an unreadable file fails the test.
std::string ReadFile(const std::string& Path);

// One row of a formatting table kept as data: "FILE | CHOICES | LAYOUT | NAME", the choices
// and layout as comma-separated words (clear, attributes, empty, text, remove; inline, space,
// expand, verbatim, textinline) or "-" for none.
struct TyChoiceRow {
  std::string File;
  uint32_t Formatting = 0;
  uint32_t Layout = 0;
  std::string Name;
};
TyChoiceRow ParseChoiceRow(const std::string& Line);

}  // namespace xylem::test
