#include "lsp/Formatting.hpp"

#include <algorithm>

#include "common/Utf.hpp"
#include "json/Exception.hpp"
#include "json/Formatter.hpp"
#include "xml/format/Reader.hpp"

namespace xylem::lsp {

namespace {

bool IsSpace(char16_t C) { return C == u' ' || C == u'\t' || C == u'\r' || C == u'\n'; }

// Walks a text keeping the LSP position (0-based line and UTF-16 character) of an index.
class CyPositionWalker {
 public:
  explicit CyPositionWalker(std::u16string_view Text) : Text_(Text) {}
  // Moves forward to Index (never backward).
  void MoveTo(size_t Index) {
    for (; At_ < Index; ++At_) {
      const char16_t C = Text_[At_];
      if (C == u'\n' || (C == u'\r' && (At_ + 1 >= Text_.size() || Text_[At_ + 1] != u'\n'))) {
        ++Line_;
        Character_ = 0;
      } else {
        ++Character_;
      }
    }
  }
  TyTextPosition getPosition() const { return {Line_ + 1, Character_ + 1}; }

 private:
  std::u16string_view Text_;
  size_t At_ = 0;
  int64_t Line_ = 0;
  int64_t Character_ = 0;
};

struct TyEdit {
  TyTextRange Range;
  std::u16string_view NewText;
};

void AddEdit(std::vector<TyEdit>& Edits, CyPositionWalker& Walker, std::u16string_view Old,
             size_t OldStart, size_t OldEnd, std::u16string_view New, size_t NewStart,
             size_t NewEnd) {
  // Trim what both runs share at their ends; line ends are never split since both trims stop
  // at the first difference.
  while (OldStart < OldEnd && NewStart < NewEnd && Old[OldStart] == New[NewStart]) {
    ++OldStart;
    ++NewStart;
  }
  while (OldStart < OldEnd && NewStart < NewEnd && Old[OldEnd - 1] == New[NewEnd - 1]) {
    --OldEnd;
    --NewEnd;
  }
  if (OldStart == OldEnd && NewStart == NewEnd) return;
  // A trim may stop between "\r" and "\n"; widen so an edit never splits a line end.
  if (OldStart > 0 && Old[OldStart - 1] == u'\r' && OldStart < Old.size() && Old[OldStart] == u'\n')
    --OldStart, --NewStart;
  Walker.MoveTo(OldStart);
  const TyTextPosition Start = Walker.getPosition();
  Walker.MoveTo(OldEnd);
  Edits.push_back({{Start, Walker.getPosition()}, New.substr(NewStart, NewEnd - NewStart)});
}

json ToJson(const std::vector<TyEdit>& Edits) {
  json Result = json::array();
  for (const TyEdit& E : Edits)
    Result.push_back({{"range", ToLspRange(E.Range)}, {"newText", ToUTF8(E.NewText)}});
  return Result;
}

std::vector<TyEdit> ComputeEdits(std::u16string_view Old, std::u16string_view New) {
  std::vector<TyEdit> Edits;
  CyPositionWalker Walker(Old);
  size_t i = 0, j = 0;
  while (i < Old.size() || j < New.size()) {
    const bool OldSpace = i < Old.size() && IsSpace(Old[i]);
    const bool NewSpace = j < New.size() && IsSpace(New[j]);
    if (OldSpace || NewSpace) {
      size_t i2 = i, j2 = j;
      while (i2 < Old.size() && IsSpace(Old[i2])) ++i2;
      while (j2 < New.size() && IsSpace(New[j2])) ++j2;
      AddEdit(Edits, Walker, Old, i, i2, New, j, j2);
      i = i2;
      j = j2;
      continue;
    }
    if (i < Old.size() && j < New.size() && Old[i] == New[j]) {
      ++i;
      ++j;
      continue;
    }
    // Not a white-space change: one edit up to the common tail.
    size_t OldEnd = Old.size(), NewEnd = New.size();
    while (OldEnd > i && NewEnd > j && Old[OldEnd - 1] == New[NewEnd - 1]) --OldEnd, --NewEnd;
    AddEdit(Edits, Walker, Old, i, OldEnd, New, j, NewEnd);
    break;
  }
  return Edits;
}

std::u16string WithNewline(std::u16string_view Text, std::u16string_view Newline) {
  std::u16string Result;
  Result.reserve(Text.size());
  for (size_t i = 0; i < Text.size(); ++i) {
    if (Text[i] == u'\r' && i + 1 < Text.size() && Text[i + 1] == u'\n') {
      Result.append(Newline);
      ++i;
    } else {
      Result.push_back(Text[i]);
    }
  }
  return Result;
}

}  // namespace

json MinimalTextEdits(std::u16string_view Old, std::u16string_view New) {
  return ToJson(ComputeEdits(Old, New));
}

json FormatEdits(const CyDocumentView& Document, const json& Options,
                 const TyXMLFormatterChoices& XMLChoices, std::optional<TyTextRange> Range) {
  std::u16string Unit = XMLChoices.IndentationUnit;
  if (Options.is_object()) {
    const bool Spaces = Options.value("insertSpaces", true);
    const int64_t TabSize = std::clamp<int64_t>(Options.value("tabSize", int64_t{4}), 0, 16);
    Unit = Spaces ? std::u16string(size_t(TabSize), u' ') : std::u16string(u"\t");
  }
  const std::u16string Old = Document.getText();
  std::u16string New;
  switch (Document.getKind()) {
    case TyDocumentKind::dkText:
      throw CyLspError(lecRequestFailed, "Plain text documents are not formatted.");
    case TyDocumentKind::dkJSON: {
      TyJSONWriterOptions JSONOptions;
      JSONOptions.IndentationUnit = Unit;
      JSONOptions.Newline = std::u16string(Document.getNewline());
      try {
        New = CyJSONFormatter::Format(Old, JSONOptions);
      } catch (const JSONException& Error) {
        throw CyLspError(lecRequestFailed, Error.what());
      }
      // Keep a final line end where the source has one.
      if (!Old.empty() && Old.back() == u'\n' && (New.empty() || New.back() != u'\n'))
        New.append(Document.getNewline());
      break;
    }
    default: {
      TyXMLFormatterChoices Choices = XMLChoices;
      Choices.IndentationUnit = Unit;
      try {
        New = WithNewline(CyXMLFormatter::FormatText(Old, u"", Choices), Document.getNewline());
      } catch (const CyXMLFormatException&) {
        throw CyLspError(lecRequestFailed, kNotWellFormedMessage);
      }
    }
  }
  std::vector<TyEdit> Edits = ComputeEdits(Old, New);
  if (Range) {
    std::erase_if(Edits, [&](const TyEdit& E) {
      const bool Touches = E.Range.isEmpty()
                               ? E.Range.Start >= Range->Start && E.Range.Start <= Range->End
                               : E.Range.Start < Range->End && E.Range.End > Range->Start;
      return !Touches;
    });
  }
  return ToJson(Edits);
}

}  // namespace xylem::lsp
