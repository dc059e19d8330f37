#pragma once
// TxXMLParser: the editor's restartable XML tokenizer. It cuts UTF-16 text into tokens, each a
// (group, symbol) pair, and keeps its whole state between calls in two 64-bit words so that a
// line can be scanned from the state stored at its start. It never fails on bad markup: a
// construct that ends without its delimiter ends in a zero-width missing token (symbol + 32).
//
// The raw fast paths. Four hand-written scanners read the common lines of a document without
// this tokenizer's state stacks and give anything unusual back to it; each restates part of
// its lexical rules, so a change here must be mirrored there, and each is held to this
// tokenizer by a differential test and a fuzz target:
//   CyRawXMLParser (xml/lines): deltas of a document-level line for the line-state scan —
//     RawXMLParserTest.AgreesWithTheTokenizerOnGeneratedLines, fuzz LineStateRepair.
//   CyRawXMLChecker (xml/check): the well-formedness checks of a document-level line —
//     RawXMLCheckerTest (fast path on and off over the same documents), fuzz WellFormedCheck.
//   CyRawXMLLineLexer (xml/syntax): the tokens of a document-level line, for the formatter's
//     scanner and the line colouring — RawXMLLineLexerTest, NodeScanner.FastPathGivesThe-
//     TokenizersNodesAndRefusals, LineColoring fast path tests, fuzz LineLexerFastPath.
//   ScanRawXMLContent (xml/format): which elements hold text, the streaming formatter's first
//     pass — FormatterStream.SameTextAsTheTreeForEveryOptionSet, fuzz FormatterRoundTrip.
// They are not one lexer on purpose: the line-state parser and the content scan cut no tokens
// at all (they count constructs and look for text over whole documents), and a shared token
// stream would put per-token work into both; the checker validates names and characters as it
// goes, while the line lexer keeps spans and checks nothing (its two readers want just that).

#include <cstdint>
#include <string_view>

#include "xml/syntax/TokenizerKinds.hpp"

namespace xylem {

// The token last scanned. "0" is the state before the token (which names the token's kind),
// "1" the state after it.
struct TyXMLToken {
  uint64_t StackG0 = 0;  // group word before the token
  uint64_t StackS0 = 0;  // symbol word before the token
  uint64_t StackG1 = 0;  // group word after the token
  uint64_t StackS1 = 0;  // symbol word after the token
  int64_t Offset0 = 0;   // first code unit of the token, from the start of the scanned text
  int64_t Offset1 = 0;   // just past the token
  const char16_t* Start = nullptr;  // the token's first character in the caller's text
  int32_t DeltaPos = 0;             // constructs begun minus constructs finished since First
  bool DeltaUp = false;             // this token begins a construct
  bool DeltaDown = false;           // a construct finished before this token is counted off here
  bool TextIsMissing = false;       // zero-width missing token (its symbol carries bit 32)
  bool TextWasMissing = false;      // the token delivered before this one was a missing token
  bool IsDone = false;              // nothing more to scan in this text (see TxXMLParser::Next)

  unsigned Group0() const { return static_cast<unsigned>(StackG0 & 31); }
  unsigned GroupExtra0() const { return static_cast<unsigned>(StackG0 & kXMLCellMask); }
  bool Extra0() const { return (StackG0 & kXMLExtra) != 0; }
  unsigned Symbol0() const { return static_cast<unsigned>(StackS0 & kXMLCellMask); }
  unsigned Group1() const { return static_cast<unsigned>(StackG1 & 31); }
  unsigned GroupExtra1() const { return static_cast<unsigned>(StackG1 & kXMLCellMask); }
  bool Extra1() const { return (StackG1 & kXMLExtra) != 0; }
  unsigned Symbol1() const { return static_cast<unsigned>(StackS1 & kXMLCellMask); }
  // Display names; an impossible value raises CyShouldNeverHappenException.
  std::string_view GroupStr0() const { return XMLGroupName(Group0()); }
  std::string_view SymbolStr0() const { return XMLSymbolName(Symbol0()); }
  std::string_view GroupStr1() const { return XMLGroupName(Group1()); }
  std::string_view SymbolStr1() const { return XMLSymbolName(Symbol1()); }
  int64_t Count() const { return Offset1 - Offset0; }
  // The token's characters, a view into the caller's text (no copy).
  std::u16string_view Text() const { return {Start, static_cast<size_t>(Offset1 - Offset0)}; }
  // The token leaves the tokenizer between constructs at document level, where the raw line
  // lexer may read on.
  bool EndsAtDocumentLevel() const {
    return StackG1 == kXMLDocumentGroupWord && StackS1 == kXMLDocumentSymbolWord;
  }
  // DeltaPos minus one when this token begins a construct: the level before it.
  int32_t DeltaNeg() const { return DeltaUp ? DeltaPos - 1 : DeltaPos; }
  // White space only (tab, LF, CR, space) in the body of TEXT or of the internal subset.
  // Linear in the token's length.
  bool IsWhitespace() const;
};

// Not thread-safe: one object per thread. It holds no text, only a position in the caller's
// NUL-terminated text, which must stay unchanged while scanning. No allocation anywhere.
class TxXMLParser {
 public:
  // Starts scanning Text (NUL-terminated) in the state (GroupWord, SymbolWord), clears the
  // delta counters and pending flags, and delivers the first token as Next does. AtEnd: no text
  // follows, so unterminated constructs end in their missing tokens here.
  void First(const char16_t* Text, bool AtEnd, uint64_t GroupWord, uint64_t SymbolWord);
  // Delivers the next token: scans until a token consumed at least one character, is a missing
  // token, or IsDone (the state after it is empty, or it starts at the terminating NUL and
  // neither it nor the next state is missing). Raises CyShouldNeverHappenException on an
  // impossible state.
  void Next();
  // Scans exactly one token (possibly of zero length) and updates the token record.
  void Scan();
  // Scans one whole line from (GroupWord, SymbolWord) and writes the state after it back.
  // LastDelta: the final DeltaNeg; MinDelta/MaxDelta: lowest DeltaNeg and highest DeltaPos over
  // every step of the line (zero-width ones included). The per-line entry of the line-state
  // scan and the colouring: it runs the steps of a construct without filling the token record
  // (left unspecified afterwards), linear in the line's length, no allocation.
  void ScanUntilEOL(const char16_t* Text, bool AtEnd, int32_t& LastDelta, int32_t& MinDelta,
                    int32_t& MaxDelta, uint64_t& GroupWord, uint64_t& SymbolWord);

  // The token last delivered.
  const TyXMLToken& getToken() const { return Token_; }
  // The current state words (the state after the last token).
  uint64_t getStackG() const { return G_; }
  uint64_t getStackS() const { return S_; }

  // Stack operations on the two words. Group -1 keeps the current group (GoToState: with its
  // extra bit; PushState: without it). PushState raises CyShouldNeverHappenException when all
  // ten cells are in use.
  void PushState(unsigned Symbol, int Group);
  void PopState();
  void GoToState(unsigned Symbol, int Group);
  // Keeps the current group, drops its extra bit, and sets the symbol.
  void GoToStateForgetExtra(unsigned Symbol);
  // Sets / clears the extra bit of the current group, in the before- and after-state.
  void RaiseExtra();
  void LowerExtra();

 private:
  void Begin(bool Up);
  void Finish();
  void Go(TyXMLSymbol s) { S_ = (S_ & ~kXMLCellMask) | XMLValue(s); }
  void GoMissing(TyXMLSymbol s) { S_ = (S_ & ~kXMLCellMask) | XMLMissing(s); }
  void Push(TyXMLSymbol s, unsigned Group) {
    if (!CanPush()) Impossible();
    G_ = (G_ << kXMLCellBits) | Group;
    S_ = (S_ << kXMLCellBits) | XMLValue(s);
  }
  void Step();
  bool CanPush() const { return (G_ >> (kXMLCellBits * (kXMLStackCells - 1))) == 0; }
  void Skip(unsigned n);
  [[noreturn]] void Impossible() const;

  void ScanNeutral();
  void ScanStructure();
  void ScanText();
  void Decide();
  void ScanReference();
  void ReferenceStep();
  void ScanTag(unsigned Group, unsigned Symbol);
  void TagStep(unsigned Group, unsigned Symbol);
  void FastStartTag();
  void FastEndTag();
  void TagDispatch(unsigned Group);
  void ScanDelimited(unsigned Group, unsigned Symbol);
  void ScanPI(unsigned Symbol);
  void ScanDeclaration(unsigned Group, unsigned Symbol);
  void DeclarationDispatch(unsigned Group);
  void ScanSubset(unsigned Symbol);

  const char16_t* Base_ = nullptr;
  const char16_t* P_ = nullptr;
  uint64_t G_ = 0;
  uint64_t S_ = 0;
  int32_t DeltaPos_ = 0;
  int32_t Lowest_ = 0;  // lowest DeltaNeg and highest DeltaPos since the line's start
  int32_t Highest_ = 0;
  bool AtEnd_ = false;
  bool OpenPending_ = false;
  bool ClosePending_ = false;
  bool Fuse_ = false;  // ScanUntilEOL: run the steps of a construct without the dispatch
  TyXMLToken Token_;
};

}  // namespace xylem
