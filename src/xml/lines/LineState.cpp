#include "xml/lines/LineState.hpp"

#include <algorithm>
#include <vector>

#include "common/Tasks.hpp"
#include "xml/lines/RawXMLParser.hpp"

namespace xylem {

namespace {

void StoreState(TxItem& Item, const TyXMLLineState& State) {
  Item.StackG = static_cast<int64_t>(State.StackG);
  Item.StackS = static_cast<int64_t>(State.StackS);
}

// Goes on from Line in State for at most LineCount lines; the first Forced of them are
// rewritten whatever their stored start state, the rest until a stored state matches.
int64_t RepairFrom(TxTextItems& TextItems, int64_t Line, int64_t LineCount, int64_t Forced,
                   TyXMLLineState State, int64_t& TotalDelta) {
  const int64_t count = TextItems.getCount();
  const int64_t end = std::min(count + 1, Line + std::max<int64_t>(LineCount, 0));
  TxXMLParser parser;
  int64_t rewritten = 0;
  for (int64_t line = Line; line < end; ++line, --Forced) {
    TxItem& item = *TextItems.getItems(line);
    if (Forced <= 0 && CyXMLLineStates::getStartState(item) == State) break;
    StoreState(item, State);
    TotalDelta -= item.Delta;
    CyXMLLineStates::ScanLine(parser, item, line == count, State);
    TotalDelta += item.Delta;
    ++rewritten;
  }
  return rewritten;
}

// The state at the start of Line, from the stored state of the line before it.
TyXMLLineState StateBefore(TxTextItems& TextItems, int64_t Line, TxXMLParser& Parser) {
  if (Line <= 1) return {};
  const TxItem& before = *TextItems.getItems(Line - 1);
  TyXMLLineState state = CyXMLLineStates::getStartState(before);
  int32_t delta, lowest, highest;
  Parser.ScanUntilEOL(before.TextUTF16.getText(), Line - 1 == TextItems.getCount(), delta, lowest,
                      highest, state.StackG, state.StackS);
  return state;
}

}  // namespace

void CyXMLLineStates::CutPiece(int64_t LineCount, int PieceCount, int Index, int64_t& FirstLine,
                               int64_t& Count) {
  const int k = std::max(PieceCount, 1);
  int64_t first = 1, rest = std::max<int64_t>(LineCount, 0), length = 0;
  for (int i = 0; i <= Index && i < k; ++i) {
    first += length;
    length = rest / (k - i);
    rest -= length;
  }
  FirstLine = first;
  Count = length;
}

void CyXMLLineStates::ScanLine(TxXMLParser& Parser, TxItem& Item, bool AtEnd,
                               TyXMLLineState& State) {
  const char16_t* text = Item.TextUTF16.getText();
  int32_t delta, lowest, highest;
  if (!CyXMLParserEOL::ParseUntilEOL(text, State.StackG, State.StackS, delta, lowest, highest))
    Parser.ScanUntilEOL(text, AtEnd, delta, lowest, highest, State.StackG, State.StackS);
  Item.Delta = delta;
  Item.DeltaMin = lowest;
  Item.DeltaMax = highest;
}

void CyXMLLineStates::BeforeEdit(TxTextItems& TextItems, int64_t FirstLine, int64_t Count,
                                 int64_t& TotalDelta) {
  const int64_t end = std::min(TextItems.getCount() + 1, FirstLine + Count);
  for (int64_t line = std::max<int64_t>(FirstLine, 1); line < end; ++line) {
    TxItem& item = *TextItems.getItems(line);
    TotalDelta -= item.Delta;
    item.Delta = 0;
  }
}

int64_t CyXMLLineStates::AfterEdit(TxTextItems& TextItems, int64_t FirstChangedLine,
                                   int64_t ChangedCount, int64_t& TotalDelta) {
  const int64_t count = TextItems.getCount();
  int64_t first = std::max<int64_t>(FirstChangedLine, 1);
  ChangedCount = std::max<int64_t>(ChangedCount, 0);
  TxXMLParser parser;
  int64_t rewritten = 0;
  if (first + ChangedCount > count && first > 1 && first - 1 <= count) {
    // The line before the edit may have gained or lost the end-of-input flag: its start
    // state stays, its counts may not.
    TxItem& item = *TextItems.getItems(first - 1);
    const TxItem old = item;
    TyXMLLineState state = getStartState(item);
    TotalDelta -= item.Delta;
    ScanLine(parser, item, first - 1 == count, state);
    TotalDelta += item.Delta;
    if (item.Delta != old.Delta || item.DeltaMin != old.DeltaMin || item.DeltaMax != old.DeltaMax)
      ++rewritten;
  }
  if (first > count) return rewritten;
  const TyXMLLineState state = StateBefore(TextItems, first, parser);
  return rewritten +
         RepairFrom(TextItems, first, count - first + 1, ChangedCount, state, TotalDelta);
}

int64_t CyXMLLineStates::AfterInsertScanned(TxTextItems& TextItems, int64_t FirstLine,
                                            int64_t Count, int64_t& TotalDelta) {
  const int64_t count = TextItems.getCount();
  const int64_t last = FirstLine + Count - 1;
  if (Count < 2 || FirstLine < 1 || last > count)
    return FirstLine - 1 + AfterEdit(TextItems, FirstLine, Count, TotalDelta);
  TotalDelta += TextItems.CalcDelta(FirstLine + 1, last);
  TxXMLParser parser;
  const TyXMLLineState start = StateBefore(TextItems, FirstLine, parser);
  const int64_t head =
      RepairFrom(TextItems, FirstLine, count - FirstLine + 1, 1, start, TotalDelta);
  if (FirstLine + head - 1 >= last) return FirstLine + head - 1;
  const TyXMLLineState state = getStartState(*TextItems.getItems(last));
  return last - 1 + RepairFrom(TextItems, last, count - last + 1, 1, state, TotalDelta);
}

void CyXMLParserParallel::UpdatePiece(CyXMLParserParam& Param) {
  TxTextItems& items = *Param.TextItems;
  const int64_t count = items.getCount();
  TxXMLParser parser;
  TyXMLLineState state;
  int64_t sum = 0;
  const int64_t end = Param.TextItemsIndex + Param.TextItemsCount;
  constexpr int64_t kPollLines = 16384;
  for (int64_t line = Param.TextItemsIndex; line < end; ++line) {
    if (Param.Job && (line - Param.TextItemsIndex) % kPollLines == kPollLines - 1) {
      Param.Job->ThrowIfStopped();
      Param.Job->Advance(kPollLines);
    }
    TxItem& item = *items.getItems(line);
    StoreState(item, state);
    CyXMLLineStates::ScanLine(parser, item, line == count, state);
    sum += item.Delta;
  }
  Param.TotalDelta = sum;
}

void CyXMLParserParallel::UpdateAllLines(TxTextItems& TextItems, int64_t& TotalDelta,
                                         int PieceCount, const TyJobContext& Job) {
  const int pieces = std::max(PieceCount, 1);
  Job.Begin("Scanning", static_cast<uint64_t>(TextItems.getCount()));
  std::vector<CyXMLParserParam> params(static_cast<size_t>(pieces));
  for (int i = 0; i < pieces; ++i) {
    CyXMLParserParam& param = params[static_cast<size_t>(i)];
    param.TextItems = &TextItems;
    param.Job = &Job;
    CyXMLLineStates::CutPiece(TextItems.getCount(), pieces, i, param.TextItemsIndex,
                              param.TextItemsCount);
  }
  Job.RunAll(pieces, [&params](int i) { UpdatePiece(params[static_cast<size_t>(i)]); });
  TotalDelta = 0;
  for (const CyXMLParserParam& param : params) TotalDelta += param.TotalDelta;
  // Every piece but the first assumed the document-level state at its start; piece i's
  // repair needs piece i - 1's final states, hence piece order.
  for (int i = 1; i < pieces; ++i) {
    const CyXMLParserParam& param = params[static_cast<size_t>(i)];
    if (param.TextItemsCount == 0) continue;
    int64_t repaired = 0;
    Repair(TextItems, param.TextItemsIndex, param.TextItemsCount, TotalDelta, repaired);
  }
}

int64_t CyXMLParserParallel::Repair(TxTextItems& TextItems, int64_t FirstLine, int64_t LineCount,
                                    int64_t& TotalDelta, int64_t& RepairedLines) {
  RepairedLines = 0;
  if (FirstLine <= 1 || FirstLine > TextItems.getCount()) return 0;
  TxXMLParser parser;
  const TyXMLLineState state = StateBefore(TextItems, FirstLine, parser);
  RepairedLines = RepairFrom(TextItems, FirstLine, LineCount, 0, state, TotalDelta);
  return RepairedLines;
}

bool CyXMLParserEOL::ParseUntilEOL(const char16_t* Text, uint64_t GroupWord, uint64_t SymbolWord,
                                   int32_t& Delta, int32_t& Lowest, int32_t& Highest) {
  return GroupWord == kXMLDocumentGroupWord && SymbolWord == kXMLDocumentSymbolWord &&
         CyRawXMLParser::ParseXML(Text, Delta, Lowest, Highest);
}

}  // namespace xylem
