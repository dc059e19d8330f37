#pragma once
// CyXMLLineColoring: colours one line of an XML document at a time. It restarts the tokenizer
// from the state stored with the line, walks the line's tokens and gives each the colours of
// its category in the "XML" scheme.
//
//   CyXMLLineColoring coloring(items, scheme);
//   for (coloring.FirstLine(line); !coloring.IsDone(); coloring.Next())
//     paint(coloring.ItemLinepos(), coloring.ItemTextCount(), coloring.ItemForegroundColor(), ...);
//
// Not thread-safe: one object per view, used on the user-interface thread; only
// UpdateAllLines__PARALLEL__ runs worker tasks.

#include <cstdint>
#include <memory>

#include "text/TextItems.hpp"
#include "xml/lines/Coloring.hpp"
#include "xml/lines/LineState.hpp"
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

  // Starts colouring the NUL-terminated Line in state (GroupWord, SymbolWord) and moves to its
  // first token; AtEnd for the document's last line. Line must stay unchanged while coloured.
  void First(const char16_t* Line, bool AtEnd, uint64_t GroupWord, uint64_t SymbolWord);
  // First on line Index (1-based) of the text items, from its stored start state.
  void FirstLine(int64_t Index);
  // Moves to the next token of the line (nothing once IsDone).
  void Next();
  // The line is finished: no current token.
  bool IsDone() const { return Done_; }

  // ---- The current token (only while !IsDone()).
  TyXMLColoringCategory ItemCategory() const { return Category_; }
  uint32_t ItemForegroundColor() const { return Item_.Foreground; }
  uint32_t ItemBackgroundColor() const { return Item_.Background; }
  uint8_t ItemStyles() const { return Item_.Styles; }
  // 1-based position of the token's first character in the line.
  int64_t ItemLinepos() const { return Parser_.getToken().Offset0 + 1; }
  const char16_t* ItemText() const { return Parser_.getToken().Start; }
  int64_t ItemTextCount() const { return Parser_.getToken().Count(); }
  // The tokenizer words after the token.
  uint64_t StackG() const { return Parser_.getToken().StackG1; }
  uint64_t StackS() const { return Parser_.getToken().StackS1; }
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

 protected:
  // The embedded colouring of the current token (an attribute value), or nullptr. Overridden
  // where a syntax model can tell that the value holds XPath; this module knows none.
  virtual std::unique_ptr<IyEmbeddedLineColoring> CreateEmbeddedLineColoring() { return nullptr; }

 private:
  void Start(const char16_t* Line, bool AtEnd, uint64_t GroupWord, uint64_t SymbolWord,
             int64_t Index);
  void Advance();
  void Update();

  TxTextItems& TextItems_;
  const CyXMLColoring& Scheme_;
  bool EmbeddedColoring_;
  int64_t Line_ = 0;
  uint64_t StartStackG_ = kXMLDocumentGroupWord;
  uint64_t StartStackS_ = kXMLDocumentSymbolWord;
  TxXMLParser Parser_;
  TyXMLColoringCategory Category_ = TyXMLColoringCategory::xcText;
  TyColorItem Item_;
  std::unique_ptr<IyEmbeddedLineColoring> Embedded_;
  bool Done_ = true;
};

}  // namespace xylem
