#pragma once
// One piece of the well-formedness check: the token checks of a run of consecutive lines and
// what the piece leaves for the join (tag events at its empty local stack, start tags left
// open, entity references to resolve). Internal to CyXMLWellFormed.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "text/TextList.hpp"
#include "xml/ErrRecord.hpp"

namespace xylem::wellformed {

struct TyFinding {
  int64_t Line = 0;
  int32_t Pos = 0;
  std::u16string Reason;
  TyReasonParameters Parameters;
};

// Orders findings by line, position and message, so that the order never depends on which
// piece or stage found them.
bool FindingBefore(const TyFinding& A, const TyFinding& B);

// Keeps the Max first findings by FindingBefore. Amortised O(log n) per finding.
class CyFindings {
 public:
  explicit CyFindings(size_t Max) : Max_(Max) {}
  // Formats Format ("%s", "%d") with Args; the argument texts become the reason parameters.
  void Add(int64_t Line, int32_t Pos, std::u16string_view Format,
           const std::vector<TyXMLErrFormatArg>& Args = {});
  // True when Max findings before Line are already kept: nothing from Line on can be kept.
  bool IsFullBefore(int64_t Line) const { return Full_ && Line > LastLine_; }
  // The kept findings, sorted; leaves this empty.
  std::vector<TyFinding> Take();

 private:
  void Trim();
  size_t Max_;
  std::vector<TyFinding> Items_;
  bool Full_ = false;
  int64_t LastLine_ = 0;
};

enum class TyTagEventKind : uint8_t {
  tekStart,    // a start or empty-element tag
  tekEnd,      // an end tag that no start tag of the piece matched
  tekText,     // character data, a CDATA section or a reference
  tekDoctype,  // a document type declaration
};

struct TyTagEvent {
  TyTagEventKind Kind;
  std::u16string_view Name;  // element name (points into the line text)
  int64_t Line;
  int32_t Pos;
};

struct TyOpenTag {
  std::u16string_view Name;
  int64_t Line;
  int32_t Pos;
};

struct TyEntityRef {
  std::u16string_view Name;
  int64_t Line;
  int32_t Pos;
};

struct TyPieceResult {
  std::vector<TyFinding> Findings;     // sorted, at most CyXMLWellFormed::kMaxErrors
  std::vector<TyTagEvent> Events;      // met at an empty local stack, in order
  std::vector<TyOpenTag> Open;         // start tags left open, outermost first
  std::vector<std::u16string> Declared;  // general entities declared in the internal subset
  std::vector<TyEntityRef> References;   // general entity references to resolve
  bool EntitiesMayBeExternal = false;  // external subset or parameter-entity references
};

// Checks lines FirstLine .. FirstLine + Count - 1 of List, whose start states are stored.
// A piece that starts inside a construct first re-reads the lines back to the nearest line
// that starts at document level, without reporting, to learn the construct's names.
void CheckPiece(const TxTextList& List, int64_t FirstLine, int64_t Count, TyPieceResult& Out);

}  // namespace xylem::wellformed
