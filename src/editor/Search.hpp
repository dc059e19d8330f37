#pragma once
// Search and replace in an editable document: find next and previous from a position, plain
// text or regular expression (PCRE2, 16-bit, as the search module runs it: Unicode, multi-line,
// the document's newline), case-sensitive or not, whole words only (plain text), with matches
// that may span line ends. Replace, replace all and replace rest go through TxEditorReplacer:
// one change of the whole text, one undo step, the selection kept over the text it covered.
//
// Find walks the document in blocks of lines joined by its newline (a block grows while a
// regular expression needs more text to decide a match), so it never joins the whole text at
// once and can be cancelled between blocks. Look-behind sees the text of the current block
// only. Editing thread only (the document must not change during a call).

#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>

#include "editor/TextPosition.hpp"

namespace xylem {

class TxMarkupDocument;
class CyTextSearcher;
class CyRegExprSearcher;

struct TySearchQuery {
  std::u16string SearchWhat;
  bool CaseSensitive = false;
  bool WholeWordOnly = false;  // plain text only
  bool RegExpr = false;
  bool Wrap = true;  // go on from the other end of the document
  // The options byte of the replacer (TyReplaceOption) for this query.
  uint8_t getReplaceOptions(bool Forward) const;
};

class CyEditorSearch {
 public:
  // Compiles the query for Document's newline; raises CyRegExprException for a bad pattern.
  CyEditorSearch(const TxMarkupDocument& Document, const TySearchQuery& Query);
  ~CyEditorSearch();
  CyEditorSearch(const CyEditorSearch&) = delete;
  CyEditorSearch& operator=(const CyEditorSearch&) = delete;

  // The first match starting at or after From (and, wrapping, before it). An empty match is
  // not taken at From itself so that repeated finds advance. False when there is none or Stop
  // was requested. Linear in the text searched.
  bool FindNext(TyTextPosition From, TyTextRange& Match, std::stop_token Stop = {});
  // The last match ending at or before From (starting before it), and wrapping likewise.
  bool FindPrevious(TyTextPosition From, TyTextRange& Match, std::stop_token Stop = {});
  // Counts all matches. Linear.
  int64_t CountAll(std::stop_token Stop = {});

 private:
  bool FindInBlock(int64_t FirstLine, int64_t LastLine, int64_t StartOffset, bool Forward,
                   int64_t LimitOffset, TyTextRange& Match, bool& NeedMore);
  bool Search(TyTextPosition From, bool Forward, TyTextPosition Limit, TyTextRange& Match,
              std::stop_token& Stop);

  const TxMarkupDocument& Document_;
  TySearchQuery Query_;
  std::unique_ptr<CyTextSearcher> Text_;
  std::unique_ptr<CyRegExprSearcher> RegExpr_;
  int64_t PatternLines_ = 1;  // lines a plain match can span
  std::u16string Block_;
};

// ---- Replace (Part of the same command set; all one undo step, all editing thread).

// Replaces every match; true when anything was replaced. A bad pattern or template raises
// (CyRegExprException, ReplaceWithException) before anything changes.
bool ReplaceAllInDocument(TxMarkupDocument& Document, const TySearchQuery& Query,
                          std::u16string_view ReplaceWith, int64_t& ReplaceCount);
// Replaces from the selection to the end (Forward) or from the start up to the selection.
bool ReplaceRestInDocument(TxMarkupDocument& Document, const TySearchQuery& Query,
                           std::u16string_view ReplaceWith, bool Forward, int64_t& ReplaceCount);
// When the selection is exactly a match, replaces it (one step) and selects the next match;
// otherwise only selects the next match. Returns true when a match is selected afterwards.
bool ReplaceSelectionAndFindNext(TxMarkupDocument& Document, const TySearchQuery& Query,
                                 std::u16string_view ReplaceWith);

}  // namespace xylem
