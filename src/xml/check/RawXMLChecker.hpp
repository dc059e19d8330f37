#pragma once
// CyRawXMLChecker: the well-formedness check's fast path for one line that begins at document
// level. It walks the line once, without the tokenizer, over the constructs of the common lines
// (tags with attributes, text, references, one-line comments, CDATA sections and processing
// instructions) and checks them as the token checks of the piece would. Internal to
// CyXMLWellFormed.

#include <cstdint>
#include <string_view>
#include <vector>

#include "xml/check/WellFormedPiece.hpp"
#include "xml/lines/LineState.hpp"
#include "xml/syntax/AttributeNameSet.hpp"

namespace xylem::wellformed {

class CyRawXMLChecker {
 public:
  // Works on the piece's open tags (Stack) and its result (events, references), both kept
  // by the caller for the object's lifetime.
  CyRawXMLChecker(std::vector<TyOpenTag>& Stack, TyPieceResult& Out) : Stack_(Stack), Out_(Out) {}

  // Checks line Line, Text (its characters; NulText the same, NUL-terminated), which begins
  // at document level. Returns true when the line ends at document level and holds nothing the
  // token checks would report; then Stack and Out are changed exactly as the token checks
  // would change them (references and unmatched end tags are not recorded when Silent), and
  // Highest is the line's highest delta (its line delta and lowest delta are 0). Returns
  // false, with Stack and Out as they were, when the token checks must read the line. Linear
  // in the line; allocates only while its reused buffers grow.
  bool CheckLine(std::u16string_view Text, const char16_t* NulText, int64_t Line, bool Silent,
                 int32_t& Highest);
  // A line, not the document's last, that begins in Start inside a comment or CDATA section
  // opened at document level: true when the section goes on past the line and the token checks
  // would find nothing in it; the state after the line is then Start and its deltas are 0.
  // Linear in the line, no allocation, thread-safe.
  static bool CheckInsideSection(std::u16string_view Text, const TyXMLLineState& Start);

 private:
  const char16_t* Markup(const char16_t* p);
  const char16_t* StartTag(const char16_t* p);
  const char16_t* EndTag(const char16_t* p);
  const char16_t* ProcessingInstruction(const char16_t* p);
  const char16_t* CharacterData(const char16_t* p);
  const char16_t* Reference(const char16_t* p);
  const char16_t* AttributeValue(const char16_t* p);
  bool AcceptReference(std::u16string_view Body, const char16_t* Amp, bool InAttribute);
  int32_t PosOf(const char16_t* p) const { return static_cast<int32_t>(p - Text_) + 1; }
  void Pop();
  void Undo(size_t Events, size_t References);

  std::vector<TyOpenTag>& Stack_;
  TyPieceResult& Out_;
  // The line being read.
  const char16_t* Text_ = nullptr;
  int64_t Line_ = 0;
  bool Silent_ = false;
  // Undo of the line's pops: Low_ is the lowest stack size met on the line; the entries that
  // stood at Low_ .. the line's starting size were popped in Popped_'s order.
  size_t Low_ = 0;
  std::vector<TyOpenTag> Popped_;
  CyAttributeNameSet Attributes_;  // of the tag being read
};

}  // namespace xylem::wellformed
