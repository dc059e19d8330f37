#include "xml/format/RawXMLContentScan.hpp"

#include <algorithm>

#include "common/Utf.hpp"
#include "xml/syntax/TokenizerChars.hpp"

namespace xylem::detail {

namespace {

// Where Needle (ASCII, short) starts in [P, End), or End.
const char16_t* Find(const char16_t* P, const char16_t* End, std::u16string_view Needle) {
  const std::u16string_view hay(P, static_cast<size_t>(End - P));
  const size_t at = hay.find(Needle);
  return at == std::u16string_view::npos ? End : P + at;
}

bool StartsWith(const char16_t* P, const char16_t* End, std::u16string_view Prefix) {
  return static_cast<size_t>(End - P) >= Prefix.size() &&
         std::u16string_view(P, Prefix.size()) == Prefix;
}

class CyContentScanner {
 public:
  explicit CyContentScanner(TyXMLContentPiece& Piece) : Piece_(Piece) {}

  void Line(int64_t Line, const char16_t* P, const char16_t* End) {
    Line_ = Line;
    LineBegin_ = P;
    LastInTag_ = 0;  // "/" and ">" of an empty element stand side by side
    while (P < End) {
      switch (State_) {
        case TyState::Content:
          P = Content(P, End);
          break;
        case TyState::StartTag:
          P = StartTag(P, End);
          break;
        case TyState::AttributeValue: {
          const char16_t* q = FindUnit(P, End, Quote_);
          if (q == End) return;
          State_ = TyState::StartTag;
          P = q + 1;
          break;
        }
        case TyState::EndTag: {
          const char16_t* q = std::find(P, End, u'>');
          if (q == End) return;
          State_ = TyState::Content;
          P = q + 1;
          break;
        }
        case TyState::Comment:
          P = Until(P, End, u"-->");
          break;
        case TyState::CDATA:
          P = Until(P, End, u"]]>");
          break;
        case TyState::PI:
          P = Until(P, End, u"?>");
          break;
        case TyState::Doctype:
          P = Doctype(P, End);
          break;
      }
    }
  }

  void Finish() {
    Piece_.EndsInContent = State_ == TyState::Content;
    for (const TyOpen& open : Open_)
      Piece_.Open.push_back({open.Ordinal, NameAt(open.Start.P + 1, xmltokenizer::kElementNameStop),
                             open.Start, open.HasSpace});
  }

 private:
  enum class TyState : uint8_t {
    Content,
    StartTag,
    AttributeValue,
    EndTag,
    Comment,
    CDATA,
    PI,
    Doctype
  };
  struct TyOpen {
    uint64_t Ordinal;
    TyWhere Start;  // of the "<"
    bool HasSpace;
  };

  const char16_t* Until(const char16_t* P, const char16_t* End, std::u16string_view Close) {
    const char16_t* q = Find(P, End, Close);
    if (q == End) return End;
    State_ = TyState::Content;
    return q + Close.size();
  }

  // Text directly inside the innermost open element.
  void MarkText() {
    TextMarked_ = true;
    if (!Open_.empty())
      Piece_.HasText[Open_.back().Ordinal] = 1;
    else
      Piece_.Outer.push_back({});
  }

  const char16_t* Content(const char16_t* P, const char16_t* End) {
    if (TextMarked_) {
      P = FindUnit(P, End, u'<');
    } else {
      for (; P < End && *P != u'<'; ++P)
        if (*P != u' ' && *P != u'\t' && *P != u'\r' && *P != u'\n') {
          MarkText();  // a character or a reference's "&"
          P = FindUnit(P, End, u'<');
          break;
        }
    }
    if (P == End) return End;
    return Markup(P, End);
  }

  const char16_t* Markup(const char16_t* P, const char16_t* End) {
    const char16_t next = P + 1 < End ? P[1] : u'\0';
    if (next == u'/') {
      EndTag(P + 2);
      State_ = TyState::EndTag;
      return P + 2;
    }
    if (next == u'?') {
      State_ = TyState::PI;
      return P + 2;
    }
    if (next == u'!') {
      if (StartsWith(P, End, u"<!--")) {
        State_ = TyState::Comment;
        return P + 4;
      }
      if (StartsWith(P, End, u"<![CDATA[")) {
        State_ = TyState::CDATA;
        return P + 9;
      }
      State_ = TyState::Doctype;
      InSubset_ = false;
      Quote_ = 0;
      return P + 2;
    }
    // The name is read only for elements still open at the end (NameOf): the tag's scan
    // passes over it.
    const uint64_t ordinal = Piece_.HasText.size();
    Piece_.HasText.push_back(0);
    if (Piece_.FirstStart.Line == 0) Piece_.FirstStart = {Line_, P};
    Open_.push_back({ordinal, {Line_, P}, false});
    TextMarked_ = false;
    State_ = TyState::StartTag;
    LastInTag_ = 0;
    return P + 1;
  }

  // Names end where the tokenizer ends them: at a stop character, at the latest the line's
  // NUL or the "<" where a piece ends.
  static std::u16string_view NameAt(const char16_t* Name, const xmltokenizer::CySet& Stop) {
    bool colon = false;
    return {Name, static_cast<size_t>(xmltokenizer::SkipName(Name, Stop, colon) - Name)};
  }

  // Name: just past "</".
  void EndTag(const char16_t* Name) {
    if (!Open_.empty()) {
      Open_.pop_back();
    } else {
      Piece_.Outer.push_back(NameAt(Name, xmltokenizer::kEndTagNameStop));
      if (Piece_.FirstStart.Line == 0) ++Piece_.PopsBeforeFirstStart;
    }
    // The parent may already have text; looking again costs one scan of blanks.
    TextMarked_ = false;
  }

  const char16_t* StartTag(const char16_t* P, const char16_t* End) {
    static constexpr char16_t kStops[] = {u'"', u'\'', u'>', u':'};
    for (;;) {
      const char16_t* q = FindAnyUnit(P, End, kStops);
      if (q == End) {
        if (q > P) LastInTag_ = q[-1];
        return End;
      }
      const char16_t c = *q;
      const char16_t before = q > P ? q[-1] : LastInTag_;
      if (c == u':') {
        if (q - LineBegin_ >= 3 && std::u16string_view(q - 3, 3) == u"xml" &&
            StartsWith(q, End, u":space"))
          Open_.back().HasSpace = true;
        LastInTag_ = c;
        P = q + 1;
        continue;
      }
      if (c == u'>') {
        if (before == u'/') {  // empty element: closed at once
          Open_.pop_back();
          TextMarked_ = false;
        }
        State_ = TyState::Content;
        return q + 1;
      }
      Quote_ = c;
      State_ = TyState::AttributeValue;
      LastInTag_ = c;
      return q + 1;
    }
  }

  // The DOCTYPE up to its ">", skipping quoted strings and, in the internal subset, comments
  // and PIs.
  const char16_t* Doctype(const char16_t* P, const char16_t* End) {
    for (; P < End; ++P) {
      const char16_t c = *P;
      if (Quote_) {
        if (c == Quote_) Quote_ = 0;
        continue;
      }
      if (c == u'"' || c == u'\'') {
        Quote_ = c;
      } else if (c == u'[') {
        InSubset_ = true;
      } else if (c == u']') {
        InSubset_ = false;
      } else if (InSubset_ && c == u'<' && StartsWith(P, End, u"<!--")) {
        const char16_t* q = Find(P + 4, End, u"-->");
        if (q == End) return End;  // comments spanning lines in a subset are not followed
        P = q + 2;
      } else if (InSubset_ && c == u'<' && P + 1 < End && P[1] == u'?') {
        const char16_t* q = Find(P + 2, End, u"?>");
        if (q == End) return End;
        P = q + 1;
      } else if (c == u'>' && !InSubset_) {
        State_ = TyState::Content;
        return P + 1;
      }
    }
    return End;
  }

  TyXMLContentPiece& Piece_;
  TyState State_ = TyState::Content;
  int64_t Line_ = 0;
  std::vector<TyOpen> Open_;
  bool TextMarked_ = false;  // the innermost element's text is known
  char16_t Quote_ = 0;
  char16_t LastInTag_ = 0;
  const char16_t* LineBegin_ = nullptr;  // where this line's read began
  bool InSubset_ = false;
};

}  // namespace

void ScanRawXMLContent(const TxTextList& List, TyWhere From, TyWhere To, TyXMLContentPiece& Piece,
                       const TyJobContext* Job) {
  CyContentScanner scanner(Piece);
  const int64_t last = std::min(To.Line, List.getCount());
  for (int64_t line = From.Line; line <= last; ++line) {
    if (Job && (line - From.Line) % kXMLScanPollLines == kXMLScanPollLines - 1) {
      Job->ThrowIfStopped();
      Job->Advance(kXMLScanPollLines);
    }
    const TyTextUTF16& slice = List.getItems(line)->TextUTF16;
    const char16_t* begin = line == From.Line ? From.P : slice.getText();
    const char16_t* end = line == To.Line ? To.P : slice.getText() + slice.Length;
    scanner.Line(line, begin, end);
  }
  scanner.Finish();
}

}  // namespace xylem::detail
