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

// Formats List (whose text joined by Newline is the document's) into Out.
TyFormatResult FormatList(const TxTextList& List, std::u16string_view Newline, bool JSON,
                          const TyFormatChoices& Choices, const TyJobContext& Job,
                          std::unique_ptr<TxTextList>& Out) {
  TyFormatResult result;
  auto formatted = std::make_unique<TxTextList>();
  try {
    if (JSON) {
      TyJSONWriterOptions options = Choices.JSON;
      options.Newline.assign(1, u'\n');
      formatted->LoadFromText__PARALLEL__(CyJSONFormatter::Format(
          List.getTextItems().getJoined(Newline, 1, List.getCount()), options));
    } else {
      // The formatter rewrites a copy of the records (texts shared); the source stays as it is
      // until the result replaces it.
      formatted->InsertAtEnd(List, 1, List.getCount());
      CyXMLFormatter::FormatTextList(*formatted, u"", Choices.XML, Job);
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
  if (!SameLines(List, *formatted)) Out = std::move(formatted);
  return result;
}

}  // namespace

TyFormatResult CyEditorFormat::FormatDocument(TxMarkupDocument& Document,
                                              const TyFormatChoices& Choices) {
  if (Document.getKind() == TyDocumentKind::dkText) return {};
  TyFormattedText formatted;
  formatted.JSON = Document.getKind() == TyDocumentKind::dkJSON;
  formatted.Generation = Document.getGeneration();
  formatted.Result = FormatList(Document.getTextList(), Document.getNewline(), formatted.JSON,
                                Choices, TyJobContext{}, formatted.List);
  TyFormatResult result = formatted.Result;
  result.Formatted = Install(Document, std::move(formatted));
  return result;
}

TyFormattedText CyEditorFormat::FormatSnapshot(const TxDocumentSnapshot& Snapshot,
                                               const TyFormatChoices& Choices,
                                               const TyJobContext& Job) {
  TyFormattedText formatted;
  formatted.Generation = Snapshot.getGeneration();
  if (Snapshot.getKind() == TyDocumentKind::dkText) return formatted;
  formatted.JSON = Snapshot.getKind() == TyDocumentKind::dkJSON;
  formatted.Result = FormatList(Snapshot.getTextList(), Snapshot.getNewline(), formatted.JSON,
                                Choices, Job, formatted.List);
  return formatted;
}

bool CyEditorFormat::Install(TxMarkupDocument& Document, TyFormattedText&& Formatted) {
  if (!Formatted.List || Formatted.Generation != Document.getGeneration()) return false;
  const bool json = Formatted.JSON;
  const int64_t ordinal =
      OrdinalBefore(Document.getTextList(), Document.getSelection().Caret, json);
  // The caret of XML goes to the start tag it stood in or behind; of JSON to the same token.
  const TyTextPosition at =
      PositionOfOrdinal(*Formatted.List, json ? ordinal : std::max<int64_t>(ordinal, 0), json);
  Document.ReplaceContent(std::move(Formatted.List), TySelection::At(at));
  return true;
}

}  // namespace xylem
