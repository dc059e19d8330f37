#include "editor/Format.hpp"

#include "editor/Document.hpp"
#include "json/Exception.hpp"
#include "json/Formatter.hpp"

namespace xylem {

namespace {

bool IsNameStart(char16_t C) {
  return (C >= u'A' && C <= u'Z') || (C >= u'a' && C <= u'z') || C == u'_' || C == u':' ||
         C >= 0x80;
}

// What the caret is anchored to, counted from the start: start tags ("<" and a name) for XML,
// characters other than white space for JSON (the JSON formatter changes only white space).
bool Counts(std::u16string_view Line, size_t I, bool JSON) {
  if (JSON) return Line[I] != u' ' && Line[I] != u'\t';
  return Line[I] == u'<' && I + 1 < Line.size() && IsNameStart(Line[I + 1]);
}

int64_t OrdinalBefore(const TxTextList& List, TyTextPosition Caret, bool JSON) {
  int64_t n = 0;
  for (int64_t line = 1; line <= Caret.Line; ++line) {
    const std::u16string_view text = List.getLine(line);
    const size_t end = line == Caret.Line ? static_cast<size_t>(Caret.Linepos - 1) : text.size();
    for (size_t i = 0; i < end && i < text.size(); ++i) n += Counts(text, i, JSON);
  }
  return n;
}

// The position of the N-th counted item (1-based), or of the first when N is 0.
TyTextPosition PositionOfOrdinal(const TxTextList& List, int64_t N, bool JSON) {
  if (N <= 0) return {1, 1};
  int64_t n = 0;
  for (int64_t line = 1; line <= List.getCount(); ++line) {
    const std::u16string_view text = List.getLine(line);
    for (size_t i = 0; i < text.size(); ++i)
      if (Counts(text, i, JSON) && ++n == N)
        return {line, static_cast<int64_t>(i) + (JSON ? 2 : 1)};
  }
  return {List.getCount(), static_cast<int64_t>(List.getLine(List.getCount()).size()) + 1};
}

bool SameLines(const TxTextList& A, const TxTextList& B) {
  if (A.getCount() != B.getCount()) return false;
  for (int64_t line = 1; line <= A.getCount(); ++line)
    if (A.getLine(line) != B.getLine(line)) return false;
  return true;
}

}  // namespace

TyFormatResult CyEditorFormat::FormatDocument(TxMarkupDocument& Document,
                                              const TyFormatChoices& Choices) {
  TyFormatResult result;
  if (Document.getKind() == TyDocumentKind::dkText) return result;
  const bool json = Document.getKind() == TyDocumentKind::dkJSON;
  const TxTextList& list = Document.getTextList();
  auto formatted = std::make_unique<TxTextList>();
  try {
    if (json) {
      TyJSONWriterOptions options = Choices.JSON;
      options.Newline.assign(1, u'\n');
      formatted->LoadFromText__PARALLEL__(CyJSONFormatter::Format(Document.getText(), options));
    } else {
      // The formatter rewrites a copy of the records (texts shared); the document stays as it
      // is until the result replaces it.
      formatted->InsertAtEnd(list, 1, list.getCount());
      CyXMLFormatter::FormatTextList(*formatted, u"", Choices.XML);
    }
  } catch (const JSONException& e) {
    result.Refused = true;
    result.Message = e.what();
    result.Line = e.Line;
    result.Linepos = e.Linepos;
    return result;
  } catch (const CyXMLFormatException& e) {
    result.Refused = true;
    result.Message = e.what();
    result.Line = e.Line;
    result.Linepos = e.Linepos;
    return result;
  }
  if (SameLines(list, *formatted)) return result;
  const int64_t ordinal = OrdinalBefore(list, Document.getSelection().Caret, json);
  const TyTextPosition caret = PositionOfOrdinal(*formatted, json ? ordinal : ordinal + 1, json);
  // The caret of XML goes to the start tag it stood in or behind.
  const TyTextPosition at =
      json ? caret : PositionOfOrdinal(*formatted, std::max<int64_t>(ordinal, 0), json);
  (void)caret;
  Document.ReplaceContent(std::move(formatted), TySelection::At(at));
  result.Formatted = true;
  return result;
}

}  // namespace xylem
