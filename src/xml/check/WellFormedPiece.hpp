#pragma once
// One piece of the well-formedness check: the token checks of a run of consecutive lines and
// what the piece leaves for the join (tag events at its empty local stack, start tags left
// open, entity references to resolve). Internal to CyXMLWellFormed.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/JobContext.hpp"
#include "diag/ErrRecord.hpp"
#include "text/TextList.hpp"

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
  bool InAttribute = false;  // in an attribute value, else in content
};

struct TyPieceResult {
  std::vector<TyFinding> Findings;      // sorted, at most CyXMLWellFormed::kMaxErrors
  std::vector<TyTagEvent> Events;       // met at an empty local stack, in order
  std::vector<TyOpenTag> Open;          // start tags left open, outermost first
  std::vector<TyEntityRef> References;  // general entity references to resolve
};

// What a piece that stores states gives: consecutive parts, each exactly what CheckPiece
// gives for its lines. A part begins only where the piece's own states are at document level,
// at growing distances from the piece's first line, so that a piece whose assumed start state
// proves wrong is read again only up to the first part beyond the lines the repair rewrote.
struct TyStoredPiece {
  std::vector<TyPieceResult> Parts;
  std::vector<int64_t> PartFirstLine;  // first line of each part
  int64_t TotalDelta = 0;              // sum of the piece's line deltas
};

// Records a tag event for the join when Stack (the piece's open tags) is empty. A run of
// top-level text is one fault: a text event right after a text event is dropped.
void AddTagEvent(TyPieceResult& Out, const std::vector<TyOpenTag>& Stack, TyTagEventKind Kind,
                 std::u16string_view Name, int64_t Line, int32_t Pos);

// Character rules shared by the token checks and the fast line check.
// A character XML 1.0 allows (production [2] Char).
bool IsXMLChar(char32_t c);
// One of amp, lt, gt, quot, apos.
bool IsPredefinedEntity(std::u16string_view Name);
// The body of a character reference after '#': decimal digits or 'x' and hex digits. Returns
// the code point, or -1 when malformed; values beyond U+10FFFF saturate above it.
int64_t CharRefValue(std::u16string_view Digits);
// Index of the first code unit XML 1.0 forbids in Text (a control character other than tab,
// a lone surrogate, U+FFFE, U+FFFF), npos when there is none; Bad receives it. Linear.
size_t FindForbiddenCharacter(std::u16string_view Text, char32_t& Bad);

struct TyPieceOptions {
  // Lines that start at document level go through CyRawXMLChecker first. The result is the
  // same either way; false serves as the reference in tests.
  bool FastPath = true;
  // Advanced by the lines read and its stop token polled (CyCancelledException), every 16 K
  // lines; null: neither.
  const TyJobContext* Job = nullptr;
};

// Checks lines FirstLine .. FirstLine + Count - 1 of List, whose start states are stored. A
// piece that starts inside a construct first re-reads the lines back to the nearest line that
// starts at document level, without reporting, to learn the construct's names.
void CheckPiece(const TxTextList& List, int64_t FirstLine, int64_t Count, TyPieceResult& Out,
                const TyPieceOptions& Options = {});

// The same while storing the line states, as a piece of CyXMLParserParallel::UpdateAllLines
// does: from the document-level state at FirstLine, every line's start state and deltas are
// written (the same values as that scan) and the deltas summed. Writes only the line records'
// state fields of its lines; the text must not change meanwhile.
void CheckPieceStoringStates(const TxTextList& List, int64_t FirstLine, int64_t Count,
                             TyStoredPiece& Out, const TyPieceOptions& Options = {});

}  // namespace xylem::wellformed
