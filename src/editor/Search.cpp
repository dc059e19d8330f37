#include "editor/Search.hpp"

#include "editor/Document.hpp"
#include "search/EditorReplacer.hpp"
#include "search/RegExprSearcher.hpp"
#include "search/Replacer.hpp"
#include "search/TextSearcher.hpp"

namespace xylem {

uint8_t TySearchQuery::getReplaceOptions(bool Forward) const {
  uint8_t options = 0;
  if (CaseSensitive) options |= roCaseSensitive;
  if (Forward) options |= roForward;
  if (RegExpr) options |= roRegExpr;
  if (WholeWordOnly && !RegExpr) options |= roWholeWordOnly;
  return options;
}

namespace {

// Lines per block at first; a block grows while a match may need more text.
constexpr int64_t kBlockLines = 2048;

class CyDocumentReplaceEditor final : public IyReplaceEditor {
 public:
  explicit CyDocumentReplaceEditor(TxMarkupDocument& Document) : Document_(Document) {}
  const TxTextList& getTextList() const override { return Document_.getTextList(); }
  std::u16string_view getNewline() const override { return Document_.getNewline(); }
  TyReplaceSelection getSelection() const override {
    const TySelection& s = Document_.getSelection();
    return {s.Anchor.Line, s.Anchor.Linepos, s.Caret.Line, s.Caret.Linepos};
  }
  void setSelection(const TyReplaceSelection& S) override {
    Document_.setSelection({{S.AnchorLine, S.AnchorLinepos}, {S.CaretLine, S.CaretLinepos}});
  }
  void ReplaceContent(std::unique_ptr<TxTextList> Content) override {
    Document_.ReplaceContent(std::move(Content), Document_.getSelection());
  }

 private:
  TxMarkupDocument& Document_;
};

}  // namespace

CyEditorSearch::CyEditorSearch(const TxMarkupDocument& Document, const TySearchQuery& Query)
    : Document_(Document), Query_(Query) {
  if (Query_.RegExpr) {
    RegExpr_ = std::make_unique<CyRegExprSearcher>(Query_.SearchWhat, Query_.CaseSensitive,
                                                   Document_.getNewline());
  } else {
    // Line ends in the search text stand for the document's newline.
    std::u16string what;
    for (size_t i = 0; i < Query_.SearchWhat.size(); ++i) {
      const char16_t c = Query_.SearchWhat[i];
      if (c == u'\r' || c == u'\n') {
        if (c == u'\r' && i + 1 < Query_.SearchWhat.size() && Query_.SearchWhat[i + 1] == u'\n')
          ++i;
        what += Document_.getNewline();
        ++PatternLines_;
      } else {
        what += c;
      }
    }
    Text_ = std::make_unique<CyTextSearcher>(what, Query_.CaseSensitive, Query_.WholeWordOnly);
  }
}

CyEditorSearch::~CyEditorSearch() = default;

// Searches lines FirstLine .. LastLine joined by the newline for the first match (Forward) or
// the last one (backward) starting in [StartOffset, LimitOffset) of the block. NeedMore: a
// regular expression needs text behind the block to decide.
bool CyEditorSearch::FindInBlock(int64_t FirstLine, int64_t LastLine, int64_t StartOffset,
                                 bool Forward, int64_t LimitOffset, TyTextRange& Match,
                                 bool& NeedMore) {
  NeedMore = false;
  const TxTextItems& items = Document_.getTextList().getTextItems();
  Block_ = items.getJoined(Document_.getNewline(), FirstLine, LastLine);
  const int64_t length = static_cast<int64_t>(Block_.size());
  const bool more = LastLine < Document_.getLineCount();
  int64_t found = -1, foundEnd = -1;
  int64_t at = StartOffset;
  bool notEmpty = false;
  while (at <= length) {
    int64_t s = 0, e = 0;
    if (RegExpr_) {
      const TySearchResult r =
          RegExpr_->Find(Block_.c_str(), length, at, notEmpty, false, more, s, e);
      if (r == srPartial) {
        if (s < LimitOffset) {
          NeedMore = true;
          return false;
        }
        break;
      }
      if (r == srNone) break;
    } else if (!Text_->FindNext(Block_.c_str(), length, at, s, e)) {
      break;
    }
    if (s >= LimitOffset) break;
    found = s;
    foundEnd = e;
    if (Forward) break;
    notEmpty = e == s;
    at = e;
  }
  if (found < 0) return false;
  // Offsets in the block to positions: walk the block's lines.
  const int64_t nl = static_cast<int64_t>(Document_.getNewline().size());
  const auto toPosition = [&](int64_t Offset) {
    int64_t line = FirstLine;
    while (line < LastLine) {
      const int64_t len = static_cast<int64_t>(Document_.getLine(line).size());
      if (Offset <= len) break;
      Offset -= len + nl;
      ++line;
    }
    return TyTextPosition{line, Offset + 1};
  };
  Match = {toPosition(found), toPosition(foundEnd)};
  return true;
}

bool CyEditorSearch::Search(TyTextPosition From, bool Forward, TyTextPosition Limit,
                            TyTextRange& Match, std::stop_token& Stop) {
  const int64_t count = Document_.getLineCount();
  if (Forward) {
    int64_t first = From.Line;
    int64_t startOffset = From.Linepos - 1;
    while (first <= count && TyTextPosition{first, 1} <= Limit) {
      if (Stop.stop_requested()) return false;
      int64_t lines = kBlockLines;
      for (;;) {
        const int64_t last = std::min(count, first + lines - 1);
        // Plain matches may span PatternLines lines: those starting in the overlap are left
        // to the next block unless this is the last one.
        const int64_t acceptLast = last == count ? last : std::max(first, last - PatternLines_ + 1);
        int64_t limit = static_cast<int64_t>(Document_.getTextList().getTextItems().getJoinedLength(
            Document_.getNewline(), first, acceptLast));
        if (acceptLast < last) limit += static_cast<int64_t>(Document_.getNewline().size());
        if (Limit.Line <= acceptLast) {
          const TxTextItems& items = Document_.getTextList().getTextItems();
          limit = static_cast<int64_t>(
                      items.getJoinedLength(Document_.getNewline(), first, Limit.Line)) -
                  static_cast<int64_t>(Document_.getLine(Limit.Line).size()) + Limit.Linepos - 1;
        }
        bool needMore = false;
        if (FindInBlock(first, last, startOffset, true, limit, Match, needMore)) return true;
        if (needMore && last < count) {
          lines *= 2;
          continue;
        }
        first = acceptLast + 1;
        startOffset = 0;
        break;
      }
    }
    return false;
  }
  // Backward: blocks ending at From, walked towards the start; the last match in a block wins.
  int64_t last = From.Line;
  int64_t endLimit = -1;  // offset limit inside the first block: From itself
  while (last >= 1 &&
         TyTextPosition{last, static_cast<int64_t>(Document_.getLine(last).size()) + 1} >= Limit) {
    if (Stop.stop_requested()) return false;
    const int64_t first = std::max<int64_t>(1, last - kBlockLines + 1);
    const int64_t blockEnd = std::min(count, last + PatternLines_ - 1);
    const TxTextItems& items = Document_.getTextList().getTextItems();
    int64_t limit =
        static_cast<int64_t>(items.getJoinedLength(Document_.getNewline(), first, last)) + 1;
    if (endLimit < 0)
      limit = limit - 1 - static_cast<int64_t>(Document_.getLine(last).size()) + From.Linepos - 1;
    endLimit = 0;
    int64_t startOffset = 0;
    if (Limit.Line >= first && Limit.Line <= last)
      startOffset =
          static_cast<int64_t>(items.getJoinedLength(Document_.getNewline(), first, Limit.Line)) -
          static_cast<int64_t>(Document_.getLine(Limit.Line).size()) + Limit.Linepos - 1;
    bool needMore = false;
    TyTextRange m;
    if (FindInBlock(first, blockEnd, startOffset, false, limit, m, needMore)) {
      if (m.End <= From || last < From.Line) {
        Match = m;
        return true;
      }
    }
    last = first - 1;
  }
  return false;
}

bool CyEditorSearch::FindNext(TyTextPosition From, TyTextRange& Match, std::stop_token Stop) {
  if (Query_.SearchWhat.empty()) return false;
  From = Document_.ClampPosition(From);
  if (Search(From, true, Document_.getEndPosition(), Match, Stop)) {
    if (!(Match.isEmpty() && Match.Start == From)) return true;
    // An empty match at From: look from the next position.
    const TyTextPosition next =
        From.Linepos <= static_cast<int64_t>(Document_.getLine(From.Line).size())
            ? TyTextPosition{From.Line, From.Linepos + 1}
            : TyTextPosition{From.Line + 1, 1};
    if (next.Line <= Document_.getLineCount() &&
        Search(next, true, Document_.getEndPosition(), Match, Stop))
      return true;
  }
  return Query_.Wrap && Search({1, 1}, true, From, Match, Stop);
}

bool CyEditorSearch::FindPrevious(TyTextPosition From, TyTextRange& Match, std::stop_token Stop) {
  if (Query_.SearchWhat.empty()) return false;
  From = Document_.ClampPosition(From);
  if (Search(From, false, {1, 1}, Match, Stop)) return true;
  return Query_.Wrap && Search(Document_.getEndPosition(), false, From, Match, Stop);
}

int64_t CyEditorSearch::CountAll(std::stop_token Stop) {
  int64_t count = 0;
  TyTextPosition from{1, 1};
  TyTextRange match;
  while (!Query_.SearchWhat.empty() &&
         Search(from, true, Document_.getEndPosition(), match, Stop)) {
    ++count;
    if (match.End > from)
      from = match.End;
    else if (from.Linepos <= static_cast<int64_t>(Document_.getLine(from.Line).size()))
      from.Linepos++;
    else if (from.Line < Document_.getLineCount())
      from = {from.Line + 1, 1};
    else
      break;
  }
  return count;
}

bool ReplaceAllInDocument(TxMarkupDocument& Document, const TySearchQuery& Query,
                          std::u16string_view ReplaceWith, int64_t& ReplaceCount) {
  CyDocumentReplaceEditor editor(Document);
  TxEditorReplacer replacer(editor);
  CyCompoundChange compound(Document);
  return replacer.ReplaceAll(Query.SearchWhat, ReplaceWith, Query.getReplaceOptions(true),
                             ReplaceCount);
}

bool ReplaceRestInDocument(TxMarkupDocument& Document, const TySearchQuery& Query,
                           std::u16string_view ReplaceWith, bool Forward, int64_t& ReplaceCount) {
  CyDocumentReplaceEditor editor(Document);
  TxEditorReplacer replacer(editor);
  CyCompoundChange compound(Document);
  return replacer.ReplaceRest(Query.SearchWhat, ReplaceWith, Query.getReplaceOptions(Forward),
                              ReplaceCount);
}

bool ReplaceSelectionAndFindNext(TxMarkupDocument& Document, const TySearchQuery& Query,
                                 std::u16string_view ReplaceWith) {
  const TyTextRange selected = Document.getSelection().getRange();
  TyTextRange match;
  {
    CyEditorSearch search(Document, Query);
    if (!selected.isEmpty() && search.FindNext(selected.Start, match) && match == selected) {
      // The replacement of the selected match alone (groups refer to it).
      const std::u16string text = Document.getText(selected);
      std::unique_ptr<CyReplacer> replacer = CreateReplacer(
          Query.SearchWhat, ReplaceWith, Query.getReplaceOptions(true), Document.getNewline());
      CyFIFOUTF16 fifo;
      int64_t delta = 0, maxDelta = 0, count = 0;
      replacer->Replace(text.c_str(), static_cast<int64_t>(text.size()), 0,
                        static_cast<int64_t>(text.size()), {}, fifo, delta, maxDelta, count);
      const std::u16string replaced = fifo.ReadAll();
      const TyTextPosition end = Document.ReplaceRange(selected, replaced);
      Document.setSelection(TySelection::At(end));
    }
  }
  CyEditorSearch search(Document, Query);
  if (!search.FindNext(Document.getSelection().Caret, match)) return false;
  Document.setSelection({match.Start, match.End});
  return true;
}

}  // namespace xylem
