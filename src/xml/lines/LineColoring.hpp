#pragma once
// CyXMLLineColoring: colours one line of an XML document at a time. It restarts from the state
// stored with the line, walks the line's tokens and gives each the colours of its category in
// the "XML" scheme. Between constructs at document level, where most lines of a document start,
// the tokens come from the raw line lexer (a batch of whole constructs at a time); elsewhere,
// and for any construct the lexer leaves alone, from the tokenizer until it stands between
// constructs at document level again. Both give the same tokens.
//
//   CyXMLLineColoring coloring(items, scheme);
//   for (coloring.FirstLine(line); !coloring.IsDone(); coloring.Next())
//     paint(coloring.ItemLinepos(), coloring.ItemTextCount(), coloring.ItemForegroundColor(), ...);
//
// Not thread-safe: one object per view, used on the user-interface thread; only
// UpdateAllLines__PARALLEL__ runs worker tasks.

#include <cstdint>
#include <memory>
#include <vector>

#include "text/TextItems.hpp"
#include "xml/lines/Coloring.hpp"
#include "xml/lines/LineState.hpp"
#include "xml/syntax/RawXMLLineLexer.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem {

// A colouring of one token's text by another language (XPath in attribute values), with the
// same walk as the line colouring; modules above this one (xpath) adapt theirs to it.
class IyEmbeddedLineColoring {
 public:
  virtual ~IyEmbeddedLineColoring() = default;
  // Starts on document line Line (1-based) and moves to its first item.
  virtual void First(int64_t Line) = 0;
  virtual void Next() = 0;
  virtual bool IsDone() const = 0;
  virtual uint32_t ItemForegroundColor() const = 0;
  virtual uint32_t ItemBackgroundColor() const = 0;
  virtual uint8_t ItemStyles() const = 0;
  virtual int64_t ItemLinepos() const = 0;
  virtual int64_t ItemTextCount() const = 0;
};

// The category of a token kind: group and symbol before the token, and its extra bit (a tag
// name with a prefix).
TyXMLColoringCategory XMLColoringCategory(unsigned Group, unsigned Symbol, bool Extra);

class CyXMLLineColoring {
 public:
  // Colours lines of TextItems with Scheme (both must outlive the object). EmbeddedColoring:
  // attribute values may get an embedded colouring (CreateEmbeddedLineColoring).
  CyXMLLineColoring(TxTextItems& TextItems, const CyXMLColoring& Scheme,
                    bool EmbeddedColoring = false);
  virtual ~CyXMLLineColoring() = default;
  // Not copied or moved: the current token may point into the object itself.
  CyXMLLineColoring(const CyXMLLineColoring&) = delete;
  CyXMLLineColoring& operator=(const CyXMLLineColoring&) = delete;

  // Starts colouring the NUL-terminated Line in state (GroupWord, SymbolWord) and moves to its
  // first token; AtEnd for the document's last line. Line must stay unchanged while coloured.
  void First(const char16_t* Line, bool AtEnd, uint64_t GroupWord, uint64_t SymbolWord);
  // First on line Index (1-based) of the text items, from its stored start state.
  void FirstLine(int64_t Index);
  // Moves to the next token of the line (nothing once IsDone). The common step, the next token
  // of a batch without embedded colouring, is inline: it runs for every token painted.
  void Next() {
    if (Done_) return;
    if (BatchNext_ < Batch_.size() && !EmbeddedColoring_) {
      Token_ = &Batch_[BatchNext_];
      Category_ = BatchCategories_[BatchNext_++];
      return;
    }
    Embedded_.reset();
    Advance();
  }
  // The line is finished: no current token.
  bool IsDone() const { return Done_; }

  // ---- The current token (only while !IsDone()).
  TyXMLColoringCategory ItemCategory() const { return Category_; }
  uint32_t ItemForegroundColor() const { return Scheme_.getItem(Category_).Foreground; }
  uint32_t ItemBackgroundColor() const { return Scheme_.getItem(Category_).Background; }
  uint8_t ItemStyles() const { return Scheme_.getItem(Category_).Styles; }
  // 1-based position of the token's first character in the line.
  int64_t ItemLinepos() const { return Token_->Offset0 + 1; }
  const char16_t* ItemText() const { return Text_ + Token_->Offset0; }
  int64_t ItemTextCount() const { return Token_->Offset1 - Token_->Offset0; }
  // The embedded colouring of the current token, or nullptr.
  IyEmbeddedLineColoring* getEmbedded() const { return Embedded_.get(); }
  // The line being coloured (1-based) after FirstLine; 0 after First on a bare text.
  int64_t getLine() const { return Line_; }
  uint64_t getStartStackG() const { return StartStackG_; }
  uint64_t getStartStackS() const { return StartStackS_; }

  // The state after Line without colouring (fast scan first, the tokenizer when it declines);
  // stores the line's delta, lowest and highest delta in Line. Linear, no allocation.
  void ScanUntilEndOfLine(TxItem& Line, bool AtEnd, uint64_t& GroupWord, uint64_t& SymbolWord);
  // Computes the states and deltas of all lines in Job.PieceCount pieces; TotalDelta receives
  // the document's total delta. Blocks until all pieces are done; cancellable through Job.
  void UpdateAllLines__PARALLEL__(int64_t& TotalDelta, const TyJobContext& Job = {});

  // Off: every token from the tokenizer (the differential tests compare both ways). On by
  // default.
  void setFastPath(bool On) { FastPath_ = On; }

 protected:
  // The embedded colouring of the current token (an attribute value), or nullptr. Overridden
  // where a syntax model can tell that the value holds XPath; this module knows none.
  virtual std::unique_ptr<IyEmbeddedLineColoring> CreateEmbeddedLineColoring() { return nullptr; }

 private:
  void Start(const char16_t* Line, size_t Length, bool AtEnd, uint64_t GroupWord,
             uint64_t SymbolWord, int64_t Index);
  // Moves to the next token with characters, or sets Done_.
  void Advance();
  // The tokenizer from Resume_ in (GroupWord, SymbolWord).
  void StartTokenizer(uint64_t GroupWord, uint64_t SymbolWord);
  // The tokenizer's next token with characters: true with it taken, false when the line is
  // done or the tokenizer stands between constructs at document level again.
  bool TokenizerAdvance();
  // Makes Token the current one.
  void Take(const TyXMLScanToken& Token, TyXMLColoringCategory Category);

  TxTextItems& TextItems_;
  const CyXMLColoring& Scheme_;
  bool EmbeddedColoring_;
  int64_t Line_ = 0;
  uint64_t StartStackG_ = kXMLDocumentGroupWord;
  uint64_t StartStackS_ = kXMLDocumentSymbolWord;
  bool FastPath_ = true;
  const char16_t* Text_ = nullptr;  // the line, NUL-terminated at End_
  const char16_t* End_ = nullptr;
  bool AtEnd_ = false;
  // Where reading goes on: the lexer from Resume_ once the batch is used up, or the tokenizer
  // (InTokenizer_) from its current token on.
  const char16_t* Resume_ = nullptr;
  bool InTokenizer_ = false;
  bool TokenizerFresh_ = false;  // its current token is the first, not yet looked at
  int64_t TokenizerBase_ = 0;    // the tokenizer's offsets count from here
  std::vector<TyXMLScanToken> Batch_;
  std::vector<TyXMLColoringCategory> BatchCategories_;  // of Batch_'s tokens, in one pass
  size_t BatchNext_ = 0;
  TxXMLParser Parser_;
  TyXMLScanToken Tokenized_{};  // the tokenizer's current token, offsets from Text_
  // The current token (in Batch_ or Tokenized_) and its category.
  const TyXMLScanToken* Token_ = &Tokenized_;
  TyXMLColoringCategory Category_ = TyXMLColoringCategory::xcText;
  std::unique_ptr<IyEmbeddedLineColoring> Embedded_;
  bool Done_ = true;
};

}  // namespace xylem
