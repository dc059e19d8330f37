#pragma once
// CyXPathEmbeddedLineColoring: colours XPath text held in a (possibly multi-line) attribute
// value by token class, one line at a time, with the same walk as a line colouring
// (First / Next / IsDone and per-item position, length and colours). The XML line colouring
// creates one through its CreateEmbeddedLineColoring hook for values that hold XPath.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "xml/lines/LineColoring.hpp"
#include "xpath/EmbeddedColoringScheme.hpp"
#include "xpath/Token.hpp"

namespace xylem {

// Parses the value once at construction; afterwards every line can be walked any number of
// times, in any order. Items of a line cover it without gaps: tokens in their class's
// category, white space between them as xpcText, the failing token of an invalid expression as
// xpcError, and tokens after it by their kind alone (what they look like). Blank text is valid
// (as for the checker) and all xpcText. Not thread-safe; the object owns a copy of the text.
class CyXPathEmbeddedLineColoring : public IyEmbeddedLineColoring {
 public:
  // Lines: the value's text, one string per line (the first from the value's start, the last
  // up to its end); Rule: the kind of expression (xprExpr, xprPattern30, xprSequenceType,
  // xprItemType, xprUnionExprP or xprAVT); FirstLine and FirstLinepos: where Lines[0] starts in
  // the document (items report document positions); Scheme: copied. ExpandReferences: the
  // lines are attribute text as written, so the predefined entity references and character
  // references are read as their characters for parsing, while items keep covering the
  // written text (a token from "&lt;" spans those four characters; any other reference is
  // left as written, so it fails as XPath). Linear in the text; allocates the joined text and
  // one span per token.
  CyXPathEmbeddedLineColoring(std::span<const std::u16string_view> Lines, TyXPath31ParserRule Rule,
                              int64_t FirstLine = 1, int64_t FirstLinepos = 1,
                              const CyXPathColoring& Scheme = CyXPathColoring::DefaultLight(),
                              bool ExpandReferences = false);
  CyXPathEmbeddedLineColoring(const std::vector<std::u16string>& Lines, TyXPath31ParserRule Rule,
                              int64_t FirstLine = 1, int64_t FirstLinepos = 1,
                              const CyXPathColoring& Scheme = CyXPathColoring::DefaultLight(),
                              bool ExpandReferences = false);

  // Starts colouring document line Line (FirstLine .. FirstLine + line count - 1; any other line
  // is done at once) and moves to its first item. O(log tokens).
  void First(int64_t Line) override;
  // Moves to the next item of the line. O(1).
  void Next() override;
  // The line has no more items.
  bool IsDone() const override { return Done_; }

  // Per item (valid while !IsDone()):
  // 1-based position of the item in the document line.
  int64_t ItemLinepos() const override;
  // Its length in UTF-16 code units (at least 1).
  int64_t ItemTextCount() const override { return ItemEnd_ - ItemStart_; }
  // Its characters (a view into the coloring's copy of the text).
  std::u16string_view ItemText() const;
  TyXPathColoringCategory ItemCategory() const { return Spans_[Span_].Category; }
  uint32_t ItemForegroundColor() const override {
    return Scheme_.getItem(ItemCategory()).Foreground;
  }
  // kNoColor: the view's default background.
  uint32_t ItemBackgroundColor() const override {
    return Scheme_.getItem(ItemCategory()).Background;
  }
  // TyFontStyle bits.
  uint8_t ItemStyles() const override { return Scheme_.getItem(ItemCategory()).Styles; }

  // Whether the text parsed; otherwise the parser's message.
  bool getIsValid() const { return Message_.empty(); }
  const std::u16string& getMessage() const { return Message_; }
  int64_t getFirstLine() const { return FirstLine_; }
  int64_t getLineCount() const { return int64_t(LineStarts_.size()) - 1; }

 private:
  struct TySpan {
    int32_t Start;  // index in Text_
    TyXPathColoringCategory Category;
  };
  void Build(TyXPath31ParserRule Rule, bool ExpandReferences);
  void SetItem();

  std::u16string Text_;              // the lines joined by "\n"
  std::vector<int32_t> LineStarts_;  // index of each line's start, then Text_.size() + 1
  std::vector<TySpan> Spans_;        // cover Text_ without gaps, ascending
  CyXPathColoring Scheme_;
  std::u16string Message_;
  int64_t FirstLine_, FirstLinepos_;
  // Current walk.
  int64_t LineIndex_ = 0;
  size_t Span_ = 0;
  int32_t ItemStart_ = 0, ItemEnd_ = 0, LineEnd_ = 0;
  bool Done_ = true;
};

}  // namespace xylem
