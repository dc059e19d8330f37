#include "xml/check/WellFormed.hpp"

#include <algorithm>
#include <optional>

#include "xml/check/EntityRules.hpp"
#include "xml/check/InternalSubset.hpp"
#include "xml/check/WellFormedPiece.hpp"
#include "xml/check/XMLDeclCheck.hpp"
#include "xml/lines/LineState.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem {

using namespace wellformed;

namespace {

// Replays, in document order, what the pieces met at their empty local stacks against the
// tags left open by the pieces before: the sequential tag matching, cut at piece boundaries.
class CyJoin {
 public:
  explicit CyJoin(CyFindings& Findings) : Findings_(Findings) {}

  void Piece(const TyPieceResult& Piece) {
    for (const TyTagEvent& event : Piece.Events) {
      // A run of top-level text is one fault, also when a piece boundary cuts it.
      const bool text = event.Kind == TyTagEventKind::tekText;
      if (text && Open_.empty() && LastWasText_) continue;
      if (!text || Open_.empty()) LastWasText_ = text;
      switch (event.Kind) {
        case TyTagEventKind::tekStart:
          if (Open_.empty() && Roots_++ > 0)
            Findings_.Add(event.Line, event.Pos,
                          u"Element '%s' is a second root element; a document has only one.",
                          {event.Name});
          break;
        case TyTagEventKind::tekEnd:
          if (Open_.empty()) {
            Findings_.Add(event.Line, event.Pos, u"End tag '%s' has no matching start tag.",
                          {event.Name});
          } else {
            if (Open_.back().Name != event.Name)
              Findings_.Add(event.Line, event.Pos,
                            u"End tag '%s' does not match start tag '%s' (line %d).",
                            {event.Name, Open_.back().Name, Open_.back().Line});
            Open_.pop_back();
          }
          break;
        case TyTagEventKind::tekText:
          if (Open_.empty())
            Findings_.Add(event.Line, event.Pos,
                          Roots_ == 0 ? u"Text is not allowed before the root element."
                                      : u"Text is not allowed after the root element.");
          break;
        case TyTagEventKind::tekDoctype:
          if (Open_.empty() && Doctypes_ == 0 && Roots_ == 0) FirstDoctype_ = event;
          if (!Open_.empty())
            Findings_.Add(event.Line, event.Pos,
                          u"A document type declaration is not allowed inside an element.");
          else if (Doctypes_++ > 0)
            Findings_.Add(event.Line, event.Pos,
                          u"A document has only one document type declaration.");
          else if (Roots_ > 0)
            Findings_.Add(event.Line, event.Pos,
                          u"The document type declaration must come before the root element.");
          break;
      }
    }
    Open_.insert(Open_.end(), Piece.Open.begin(), Piece.Open.end());
  }

  void End(int64_t LastLine, int32_t EndPos) {
    for (const TyOpenTag& open : Open_)
      Findings_.Add(open.Line, open.Pos, u"Start tag '%s' has no matching end tag.", {open.Name});
    if (Roots_ == 0) Findings_.Add(LastLine, EndPos, u"The document has no root element.", {});
  }

  // The document type declaration in its place (before the root, the first), if any.
  const std::optional<TyTagEvent>& getDoctype() const { return FirstDoctype_; }

 private:
  CyFindings& Findings_;
  std::vector<TyOpenTag> Open_;
  int64_t Roots_ = 0;
  int64_t Doctypes_ = 0;
  bool LastWasText_ = false;
  std::optional<TyTagEvent> FirstDoctype_;
};

// The prolog's declarations, read once on this thread (they are small next to the content),
// then every entity reference the pieces met, judged against them.
void CheckDeclarationsAndEntities(const TxTextList& List, const std::vector<TyPieceResult>& Pieces,
                                  const std::optional<TyTagEvent>& Doctype, CyFindings& Findings) {
  const TyXMLDeclInfo declaration = CheckXMLDeclaration(List, Findings);
  TyDoctypeInfo info;
  if (Doctype)
    CheckDoctype(List, Doctype->Line, Doctype->Pos, declaration.Standalone, info, Findings);
  CyEntityRules rules(info, declaration.Standalone);
  for (const TyDefaultReference& ref : info.DefaultReferences)
    rules.Reference({ref.Name, ref.Line, ref.Pos, true}, Findings);
  for (const TyPieceResult& piece : Pieces)
    for (const TyEntityRef& ref : piece.References) rules.Reference(ref, Findings);
}

}  // namespace

const IyProcessorInfoPtr& CyXMLWellFormed::getProcessorInfo() {
  static const IyProcessorInfoPtr info =
      std::make_shared<CyProcessorInfo>(u"Xylem well-formedness check", u"1.0");
  return info;
}

namespace {

// Pieces of one check: the lines cut as the line-state scan cuts them.
struct TyPieces {
  std::vector<TyPieceResult> Results;
  std::vector<int64_t> First, Count;
};

TyPieces CutPieces(const TxTextList& List, int PieceCount, const TyJobContext& Job) {
  PieceCount = Job.ResolvePieceCount(PieceCount);
  const int64_t lines = List.getCount();
  if (lines < PieceCount) PieceCount = static_cast<int>(std::max<int64_t>(lines, 1));
  TyPieces pieces;
  pieces.Results.resize(static_cast<size_t>(PieceCount));
  pieces.First.resize(static_cast<size_t>(PieceCount));
  pieces.Count.resize(static_cast<size_t>(PieceCount));
  for (int i = 0; i < PieceCount; ++i)
    CyXMLLineStates::CutPiece(lines, PieceCount, i, pieces.First[static_cast<size_t>(i)],
                              pieces.Count[static_cast<size_t>(i)]);
  Job.Begin("Checking", static_cast<uint64_t>(lines));
  return pieces;
}

IyXMLErrsPtr Join(const TxTextList& List, std::vector<TyPieceResult>& Pieces) {
  const int64_t lines = List.getCount();
  CyFindings findings(CyXMLWellFormed::kMaxErrors);
  CyJoin join(findings);
  for (const TyPieceResult& piece : Pieces) join.Piece(piece);
  const int64_t lastLine = std::max<int64_t>(lines, 1);
  const int32_t endPos = lines > 0 ? static_cast<int32_t>(List.getLine(lines).size() + 1) : 1;
  join.End(lastLine, endPos);
  CheckDeclarationsAndEntities(List, Pieces, join.getDoctype(), findings);
  std::vector<TyFinding> all = findings.Take();
  for (TyPieceResult& piece : Pieces)
    for (TyFinding& finding : piece.Findings) all.push_back(std::move(finding));
  std::stable_sort(all.begin(), all.end(), FindingBefore);
  if (all.size() > static_cast<size_t>(CyXMLWellFormed::kMaxErrors))
    all.resize(CyXMLWellFormed::kMaxErrors);

  std::vector<IyXMLErrPtr> errors;
  errors.reserve(all.size());
  for (TyFinding& finding : all)
    errors.push_back(std::make_shared<CyXMLErr>(
        CyXMLWellFormed::getProcessorInfo(), u"", static_cast<int32_t>(finding.Line), finding.Pos,
        std::move(finding.Reason), u"", u"", std::move(finding.Parameters),
        TyXMLErrSeverity::errError));
  return std::make_shared<CyXMLErrs>(u"Well-formedness", std::move(errors));
}

}  // namespace

IyXMLErrsPtr CyXMLWellFormed::Check_PARALLEL(const TxTextList& List, int PieceCount,
                                             const TyJobContext& Job) {
  TyPieces pieces = CutPieces(List, PieceCount, Job);
  TyPieceOptions options;
  options.Job = &Job;
  Job.RunAll(static_cast<int>(pieces.Results.size()), [&](int i) {
    const auto k = static_cast<size_t>(i);
    CheckPiece(List, pieces.First[k], pieces.Count[k], pieces.Results[k], options);
  });
  return Join(List, pieces.Results);
}

IyXMLErrsPtr CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(TxTextList& List,
                                                               int64_t& TotalDelta, int PieceCount,
                                                               const TyJobContext& Job) {
  TyPieces pieces = CutPieces(List, PieceCount, Job);
  const size_t count = pieces.Results.size();
  std::vector<TyStoredPiece> stored(count);
  TyPieceOptions options;
  options.Job = &Job;
  Job.RunAll(static_cast<int>(count), [&](int i) {
    const auto k = static_cast<size_t>(i);
    CheckPieceStoringStates(List, pieces.First[k], pieces.Count[k], stored[k], options);
  });
  TotalDelta = 0;
  for (const TyStoredPiece& piece : stored) TotalDelta += piece.TotalDelta;
  // As UpdateAllLines: piece i's repair needs piece i - 1's final states, hence piece order.
  // The states from the first line the repair leaves alone were right, and so is every part
  // of the check that begins there or later; the parts before are read again.
  struct TyAgain {
    size_t Piece, Parts;  // the parts [0, Parts) of the piece are replaced
    int64_t First, Count;
  };
  std::vector<TyAgain> again;
  for (size_t k = 1; k < count; ++k) {
    if (pieces.Count[k] == 0) continue;
    int64_t repaired = 0;
    CyXMLParserParallel::Repair(List.getTextItems(), pieces.First[k], pieces.Count[k], TotalDelta,
                                repaired);
    if (repaired == 0) continue;
    const std::vector<int64_t>& firsts = stored[k].PartFirstLine;
    size_t parts = 0;
    while (parts < firsts.size() && firsts[parts] < pieces.First[k] + repaired) ++parts;
    const int64_t end = parts < firsts.size() ? firsts[parts] : pieces.First[k] + pieces.Count[k];
    again.push_back({k, parts, pieces.First[k], end - pieces.First[k]});
  }
  Job.RunAll(static_cast<int>(again.size()), [&](int i) {
    const TyAgain& a = again[static_cast<size_t>(i)];
    std::vector<TyPieceResult>& parts = stored[a.Piece].Parts;
    parts.erase(parts.begin(), parts.begin() + static_cast<std::ptrdiff_t>(a.Parts));
    parts.insert(parts.begin(), TyPieceResult{});
    CheckPiece(List, a.First, a.Count, parts.front());
  });
  std::vector<TyPieceResult> results;
  for (TyStoredPiece& piece : stored)
    for (TyPieceResult& part : piece.Parts) results.push_back(std::move(part));
  return Join(List, results);
}

void CyXMLWellFormed::StoreLineStates_NOT_PARALLEL(TxTextList& List) {
  TxXMLParser parser;
  uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
  const int64_t count = List.getCount();
  for (int64_t line = 1; line <= count; ++line) {
    TxItem* item = List.getItems(line);
    item->StackG = static_cast<int64_t>(g);
    item->StackS = static_cast<int64_t>(s);
    int32_t delta = 0, lowest = 0, highest = 0;
    parser.ScanUntilEOL(item->TextUTF16.getText(), line == count, delta, lowest, highest, g, s);
    item->Delta = delta;
    item->DeltaMin = lowest;
    item->DeltaMax = highest;
  }
}

}  // namespace xylem
