#include "xml/check/WellFormedPiece.hpp"

#include <algorithm>

#include "xml/check/RawXMLChecker.hpp"
#include "xml/check/WellFormed.hpp"
#include "xml/lines/LineState.hpp"
#include "xml/syntax/AttributeNameSet.hpp"
#include "xml/syntax/Names.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem::wellformed {

namespace {

using G = TyXMLGroup;
using S = TyXMLSymbol;

constexpr unsigned V(G g) { return XMLValue(g); }
constexpr unsigned V(S s) { return XMLValue(s); }

std::u16string Hex(char32_t c) {
  static const char16_t digits[] = u"0123456789ABCDEF";
  std::u16string s;
  for (int shift = c > 0xFFFF ? 20 : 12; shift >= 0; shift -= 4) s += digits[(c >> shift) & 15];
  return s;
}

std::u16string Widen(std::string_view Ascii) { return {Ascii.begin(), Ascii.end()}; }

bool EqualsIgnoreCaseASCII(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char16_t x = a[i], y = b[i];
    if (x >= u'A' && x <= u'Z') x += 32;
    if (y >= u'A' && y <= u'Z') y += 32;
    if (x != y) return false;
  }
  return true;
}

class CyPieceChecker {
 public:
  // Stored: not null when the piece stores states; it then receives the parts.
  CyPieceChecker(const TxTextList& List, TyPieceResult& Out, const TyPieceOptions& Options,
                 TyStoredPiece* Stored)
      : List_(List),
        Out_(Out),
        Findings_(CyXMLWellFormed::kMaxErrors),
        Options_(Options),
        Stored_(Stored),
        Raw_(Stack_, Out) {}

  void Run(int64_t FirstLine, int64_t Count) {
    if (Count <= 0) return;
    // Names of a construct begun before the piece are needed for its messages: re-read from
    // the last line that starts at document level, then forget what that run found. A piece
    // that stores states starts at document level by assumption.
    int64_t from = FirstLine;
    while (!Stored_ && from > 1 && !AtDocumentLevel(from)) --from;
    if (from < FirstLine) {
      Silent_ = true;
      for (int64_t line = from; line < FirstLine; ++line) ScanLine(line);
      Silent_ = false;
      Stack_.clear();
      Out_.Events.clear();
      Out_.References.clear();
    }
    if (Stored_) Stored_->PartFirstLine.push_back(FirstLine);
    const int64_t end = FirstLine + Count;
    int64_t unreported = 0, nextPart = FirstLine + kFirstPartLines;
    // Read to the end even when no more findings can be kept: a piece that stopped early
    // would leave tags open that close later, and the join would report them.
    for (int64_t line = FirstLine; line < end; ++line) {
      if (Stored_ && line >= nextPart && State_ == TyXMLLineState{}) {
        EndPart();
        Stored_->PartFirstLine.push_back(line);
        nextPart = FirstLine + (line - FirstLine) * 4;
      }
      ScanLine(line);
      if (++unreported == kProgressLines) {
        Advance(unreported);
        unreported = 0;
      }
    }
    Advance(unreported);
    EndPart();
    if (Stored_) Stored_->TotalDelta = TotalDelta_;
  }

 private:
  static constexpr int64_t kProgressLines = 16384;
  // Parts of a piece that stores states begin at growing distances: a wrong start state
  // costs a second reading of at most about four times the lines it made wrong.
  static constexpr int64_t kFirstPartLines = 16;

  // Closes the result of the lines read so far; a piece that stores states begins the next
  // part with an empty stack, as a piece of its own.
  void EndPart() {
    Out_.Findings = Findings_.Take();
    Out_.Open.assign(Stack_.begin(), Stack_.end());
    if (!Stored_) return;
    Stored_->Parts.push_back(std::move(Out_));
    Out_ = TyPieceResult{};
    Stack_.clear();
    Findings_ = CyFindings(CyXMLWellFormed::kMaxErrors);
  }

  void Advance(int64_t Lines) {
    if (!Options_.Job) return;
    Options_.Job->ThrowIfStopped();
    if (Lines > 0) Options_.Job->Advance(static_cast<uint64_t>(Lines));
  }

  // The line-state scan's step for Line, from State_. Highest: the fast check's highest delta
  // when it took the line (its state then stays as it was), else null.
  void StoreStates(int64_t Line, const int32_t* Highest) {
    TxItem& item = *List_.getItems(Line);
    item.StackG = static_cast<int64_t>(State_.StackG);
    item.StackS = static_cast<int64_t>(State_.StackS);
    if (Highest != nullptr) {
      item.Delta = 0;
      item.DeltaMin = 0;
      item.DeltaMax = *Highest;
    } else {
      CyXMLLineStates::ScanLine(StateParser_, item, Line == List_.getCount(), State_);
      TotalDelta_ += item.Delta;
    }
  }

  bool AtDocumentLevel(int64_t Line) const {
    const TxItem* item = List_.getItems(Line);
    return static_cast<uint64_t>(item->StackG) == kXMLDocumentGroupWord &&
           static_cast<uint64_t>(item->StackS) == kXMLDocumentSymbolWord;
  }

  void Error(int64_t Line, int32_t Pos, std::u16string_view Format,
             const std::vector<TyXMLErrFormatArg>& Args = {}) {
    if (!Silent_) Findings_.Add(Line, Pos, Format, Args);
  }
  void Error(int32_t Pos, std::u16string_view Format,
             const std::vector<TyXMLErrFormatArg>& Args = {}) {
    Error(Line_, Pos, Format, Args);
  }
  void Event(TyTagEventKind Kind, std::u16string_view Name, int64_t Line, int32_t Pos) {
    AddTagEvent(Out_, Stack_, Kind, Name, Line, Pos);
  }

  void ScanLine(int64_t Line) {
    const TxItem* item = List_.getItems(Line);
    const char16_t* text = item->TextUTF16.getText();
    Line_ = Line;
    const TyXMLLineState start = Stored_ ? State_ : CyXMLLineStates::getStartState(*item);
    if (Options_.FastPath) {
      int32_t highest = 0;
      const bool taken =
          start == TyXMLLineState{}
              ? Raw_.CheckLine(item->TextUTF16.getView(), text, Line, Silent_, highest)
              : Line != List_.getCount() &&
                    CyRawXMLChecker::CheckInsideSection(item->TextUTF16.getView(), start);
      if (taken) {
        if (Stored_) StoreStates(Line, &highest);
        return;
      }
    }
    CheckCharacters(item->TextUTF16.getView());
    CommentDash_ = false;
    NeedSpace_ = false;  // a line break is white space
    const bool atEnd = Line == List_.getCount();
    Parser_.First(text, atEnd, start.StackG, start.StackS);
    for (;;) {
      const TyXMLToken& token = Parser_.getToken();
      if (token.TextIsMissing || token.Count() > 0) OnToken(token);
      if (token.IsDone) break;
      Parser_.Next();
    }
    if (Stored_) StoreStates(Line, nullptr);
  }

  void CheckCharacters(std::u16string_view Text) {
    // One per line: the rest of a binary line says nothing new.
    char32_t bad = 0;
    const size_t at = FindForbiddenCharacter(Text, bad);
    if (at != std::u16string_view::npos)
      Error(static_cast<int32_t>(at + 1), u"Character U+%s is not allowed in XML 1.0.",
            {std::u16string_view(Hex(bad))});
  }

  // Inside the document type declaration, which CheckDoctype reads as a whole.
  static bool InDoctype(uint64_t GroupWord) {
    for (; GroupWord != 0; GroupWord >>= kXMLCellBits) {
      const unsigned g = static_cast<unsigned>(GroupWord & 31);
      if (g >= V(G::DOCTYPE) && g <= V(G::DT_DECL_NOTATION)) return true;
    }
    return false;
  }

  void OnToken(const TyXMLToken& T) {
    const unsigned group = T.Group0();
    const unsigned symbol = T.Symbol0();
    const int32_t pos = static_cast<int32_t>(T.Offset0 + 1);
    if (InDoctype(T.StackG0)) {
      if (group == V(G::DOCTYPE) && symbol == V(S::OPEN)) DoctypeToken(pos);
      return;
    }
    // The declaration that begins the document is CheckXMLDeclaration's.
    if (group == V(G::XML) && symbol != V(S::OPEN) && XMLDeclAtStart_) return;
    if (symbol >= kXMLMissing) {
      // A missing token after a missing token is the same fault unwinding.
      if (!T.TextWasMissing) OnMissing(group, symbol - kXMLMissing, pos);
      if (group == V(G::ELEMENT_OPEN) && symbol == XMLMissing(S::CLOSE)) EndStartTag(false);
      if (group == V(G::ELEMENT_CLOSE) && symbol == XMLMissing(S::CLOSE)) EndEndTag();
      if (group == V(G::ELEMENT_OPEN) &&
          (symbol == XMLMissing(S::STRING1_V_OPEN) || symbol == XMLMissing(S::STRING2_V_OPEN))) {
        AttrPending_ = ValueExpected_ = false;
        UnquotedValue_ = true;
      }
      if (symbol == XMLMissing(S::STRING1_V_CLOSE) || symbol == XMLMissing(S::STRING2_V_CLOSE))
        NeedSpace_ = true;
      return;
    }
    switch (static_cast<G>(group)) {
      case G::ELEMENT_OPEN:
        StartTagToken(T, symbol, pos);
        break;
      case G::ELEMENT_CLOSE:
        EndTagToken(T, symbol, pos);
        break;
      case G::TEXT:
        if (symbol == V(S::BODY)) TextToken(T, pos);
        break;
      case G::REF_ENTITY:
        ReferenceToken(T, symbol, pos);
        break;
      case G::COMMENT:
        CommentToken(T, symbol, pos);
        break;
      case G::CDATA:
        if (symbol == V(S::OPEN)) Event(TyTagEventKind::tekText, {}, Line_, pos);
        break;
      case G::PI:
        PIToken(T, symbol, pos);
        break;
      case G::XML:
        XMLDeclToken(T, symbol, pos);
        break;
      default:
        break;
    }
  }

  void OnMissing(unsigned Group, unsigned Symbol, int32_t Pos) {
    const G group = static_cast<G>(Group);
    const S symbol = static_cast<S>(Symbol);
    if (group == G::TEXT && symbol == S::CLOSE) return;  // character data simply ends
    if (group == G::REF_ENTITY) {
      if (!RefBody_.empty() && RefBody_[0] == u'#')
        Error(RefPos_, u"The character reference must end with ';'.");
      else
        Error(RefPos_, u"The entity reference must end with ';'.");
      return;
    }
    const bool valueOpen = symbol == S::STRING1_V_OPEN || symbol == S::STRING2_V_OPEN;
    const bool valueClose = symbol == S::STRING1_V_CLOSE || symbol == S::STRING2_V_CLOSE;
    switch (group) {
      case G::ELEMENT_OPEN:
        if (valueOpen) return Error(Pos, u"The value of attribute '%s' must be quoted.", {Attr_});
        if (valueClose) return Error(Pos, u"The value of attribute '%s' is not closed.", {Attr_});
        if (symbol == S::CLOSE)
          return Error(Pos, u"Start tag '%s' is not closed with '>'.", {TagName_});
        break;
      case G::ELEMENT_CLOSE:
        if (symbol == S::CLOSE)
          return Error(Pos, u"End tag '%s' is not closed with '>'.", {TagName_});
        break;
      case G::COMMENT:
        if (symbol == S::CLOSE) return Error(Pos, u"Comment is not closed with '-->'.");
        break;
      case G::CDATA:
        if (symbol == S::CLOSE) return Error(Pos, u"CDATA section is not closed with ']]>'.");
        break;
      case G::PI:
      case G::XMLModel:
      case G::XMLStylesheet:
        // Pseudo-attributes are a convention of these instructions, not an XML rule.
        if (symbol == S::CLOSE)
          return Error(Pos, u"Processing instruction is not closed with '?>'.");
        if (group != G::PI) return;
        break;
      case G::XML:
        if (symbol == S::CLOSE) return Error(Pos, u"XML declaration is not closed with '?>'.");
        if (valueOpen) return Error(Pos, u"The value of '%s' must be quoted.", {Attr_});
        if (valueClose) return Error(Pos, u"The value of '%s' is not closed.", {Attr_});
        break;
      default:
        break;
    }
    Error(Pos, u"Missing %s in %s.",
          {std::u16string_view(Widen(XMLSymbolName(Symbol + kXMLMissing))),
           std::u16string_view(Widen(XMLGroupName(Group)))});
  }

  // ---- start tags --------------------------------------------------------------------------
  void StartTagToken(const TyXMLToken& T, unsigned Symbol, int32_t Pos) {
    // The tokenizer reads the rest of an unquoted value as the next name: one fault, reported.
    if (UnquotedValue_) {
      UnquotedValue_ = false;
      if (Symbol == V(S::ATTRIBUTE_NAME)) return;
    }
    switch (static_cast<S>(Symbol)) {
      case S::OPEN:
        TagName_ = {};
        TagLine_ = Line_;
        TagPos_ = Pos;
        Attrs_.Clear();
        Attr_ = {};
        AttrPending_ = NeedSpace_ = ValueExpected_ = false;
        break;
      case S::TAG:
        TagName_ = T.Text();
        if (!CyXMLNames::IsName(TagName_))
          Error(Pos, u"'%s' is not a valid element name.", {TagName_});
        break;
      case S::WHITESPACE:
        NeedSpace_ = false;
        break;
      case S::ATTRIBUTE_NAME:
        AttributeName(T.Text(), Pos);
        break;
      case S::EQUALS:
        if (!AttrPending_) Error(Pos, u"An attribute name is expected before '='.");
        ValueExpected_ = AttrPending_;
        AttrPending_ = false;
        break;
      case S::STRING1_V_OPEN:
      case S::STRING2_V_OPEN:
        if (!ValueExpected_) Error(Pos, u"An attribute name is expected before the value.");
        ValueExpected_ = false;
        break;
      case S::STRING1_V:
      case S::STRING2_V:
        AttributeValue(T.Text(), Pos);
        break;
      case S::STRING1_V_CLOSE:
      case S::STRING2_V_CLOSE:
        NeedSpace_ = true;
        break;
      case S::CLOSE:
        EndStartTag(false);
        break;
      case S::CLOSE_SLASH:
        EndStartTag(true);
        break;
      default:
        break;
    }
  }

  void AttributeName(std::u16string_view Name, int32_t Pos) {
    if (TagName_.empty() && Attrs_.IsEmpty()) {
      // "< a": the tokenizer reads the name after blanks as an attribute.
      Error(TagLine_, TagPos_ + 1, u"An element name is expected right after '<'.");
      TagName_ = Name;
      Attrs_.Insert({});
      return;
    }
    if (AttrPending_)
      Error(AttrLine_, AttrPos_, u"Attribute '%s' has no value.", {Attr_});
    else if (NeedSpace_)
      Error(Pos, u"White space is required before attribute '%s'.", {Name});
    if (!CyXMLNames::IsName(Name)) Error(Pos, u"'%s' is not a valid attribute name.", {Name});
    if (!Attrs_.Insert(Name))
      Error(Pos, u"Attribute '%s' is given twice in element '%s'.", {Name, TagName_});
    Attr_ = Name;
    AttrLine_ = Line_;
    AttrPos_ = Pos;
    AttrPending_ = true;
    NeedSpace_ = false;
  }

  void AttributeValue(std::u16string_view Value, int32_t Pos) {
    bool lessReported = false;
    for (size_t i = 0; i < Value.size(); ++i) {
      if (Value[i] == u'<' && !lessReported) {
        lessReported = true;
        Error(Pos + static_cast<int32_t>(i), u"The value of attribute '%s' must not contain '<'.",
              {Attr_});
      } else if (Value[i] == u'&') {
        size_t end = i + 1;
        while (end < Value.size() && Value[end] != u';' && Value[end] != u'&' &&
               Value[end] != u'<' && Value[end] != u' ' && Value[end] != u'\t')
          ++end;
        const int32_t refPos = Pos + static_cast<int32_t>(i);
        const std::u16string_view body = Value.substr(i + 1, end - i - 1);
        if (end >= Value.size() || Value[end] != u';') {
          if (!body.empty() && body[0] == u'#')
            Error(refPos, u"The character reference must end with ';'.");
          else
            Error(refPos, u"The entity reference must end with ';'.");
        } else {
          CheckReference(body, refPos, true);
        }
        i = end > i ? end - 1 : i;
      }
    }
  }

  void EndStartTag(bool Empty) {
    if (AttrPending_) Error(AttrLine_, AttrPos_, u"Attribute '%s' has no value.", {Attr_});
    AttrPending_ = NeedSpace_ = false;
    if (TagName_.empty()) {
      Error(TagLine_, TagPos_ + 1, u"An element name is expected right after '<'.");
      return;
    }
    Event(TyTagEventKind::tekStart, TagName_, TagLine_, TagPos_);
    if (!Empty) Stack_.push_back({TagName_, TagLine_, TagPos_});
  }

  // ---- end tags ----------------------------------------------------------------------------
  void EndTagToken(const TyXMLToken& T, unsigned Symbol, int32_t Pos) {
    switch (static_cast<S>(Symbol)) {
      case S::OPEN_SLASH:
        TagName_ = {};
        TagLine_ = Line_;
        TagPos_ = Pos;
        EndTagJunk_ = false;
        break;
      case S::TAG:
        TagName_ = T.Text();
        break;
      case S::WHITESPACE:
        break;
      case S::CLOSE:
        EndEndTag();
        break;
      case S::CLOSE_SLASH:
        Error(Pos, u"End tag '%s' must end with '>', not '/>'.", {TagName_});
        EndEndTag();
        break;
      default:
        if (!EndTagJunk_) Error(Pos, u"End tag '%s' may hold only its name.", {TagName_});
        EndTagJunk_ = true;
        break;
    }
  }

  void EndEndTag() {
    if (TagName_.empty()) {
      Error(TagLine_, TagPos_ + 2, u"An element name is expected right after '</'.");
      return;
    }
    if (Stack_.empty()) {
      if (!Silent_) Out_.Events.push_back({TyTagEventKind::tekEnd, TagName_, TagLine_, TagPos_});
      return;
    }
    const TyOpenTag& open = Stack_.back();
    if (open.Name != TagName_)
      Error(TagLine_, TagPos_, u"End tag '%s' does not match start tag '%s' (line %d).",
            {TagName_, open.Name, open.Line});
    Stack_.pop_back();
  }

  // ---- character data and references ------------------------------------------------------
  void TextToken(const TyXMLToken& T, int32_t Pos) {
    const std::u16string_view text = T.Text();
    if (!T.IsWhitespace()) Event(TyTagEventKind::tekText, {}, Line_, Pos);
    const size_t at = text.find(u"]]>");
    if (at != std::u16string_view::npos)
      Error(Pos + static_cast<int32_t>(at),
            u"The sequence ']]>' is not allowed in character data.");
  }

  void ReferenceToken(const TyXMLToken& T, unsigned Symbol, int32_t Pos) {
    if (Symbol == V(S::OPEN)) {
      RefBody_ = {};
      RefPos_ = Pos;
      Event(TyTagEventKind::tekText, {}, Line_, Pos);
    } else if (Symbol == V(S::BODY)) {
      RefBody_ = T.Text();
    } else if (Symbol == V(S::CLOSE)) {
      CheckReference(RefBody_, RefPos_, false);
    }
  }

  // Body is what stands between '&' and ';'.
  void CheckReference(std::u16string_view Body, int32_t Pos, bool InAttribute) {
    if (!Body.empty() && Body[0] == u'#') {
      const int64_t value = CharRefValue(Body.substr(1));
      if (value < 0)
        Error(Pos, u"'&%s;' is not a valid character reference.", {Body});
      else if (!IsXMLChar(static_cast<char32_t>(value)))
        Error(Pos, u"Character reference '&%s;' refers to a character that XML 1.0 forbids.",
              {Body});
      return;
    }
    if (!CyXMLNames::IsName(Body)) {
      Error(Pos, u"'&%s;' is not a valid entity reference.", {Body});
      return;
    }
    if (!IsPredefinedEntity(Body) && !Silent_)
      Out_.References.push_back({Body, Line_, Pos, InAttribute});
  }

  // ---- comments, PIs, declarations --------------------------------------------------------
  void CommentToken(const TyXMLToken& T, unsigned Symbol, int32_t Pos) {
    if (Symbol == V(S::OPEN)) {
      CommentDashReported_ = false;
      CommentDash_ = false;
    } else if (Symbol == V(S::BODY)) {
      const std::u16string_view text = T.Text();
      const size_t at = text.find(u"--");
      if (at != std::u16string_view::npos && !CommentDashReported_) {
        CommentDashReported_ = true;
        Error(Pos + static_cast<int32_t>(at), u"The sequence '--' is not allowed in comments.");
      }
      CommentDash_ = !text.empty() && text.back() == u'-';
      return;
    } else if (Symbol == V(S::CLOSE) && CommentDash_ && !CommentDashReported_) {
      Error(Pos - 1, u"The sequence '--' is not allowed in comments.");
    }
    CommentDash_ = false;
  }

  void PIToken(const TyXMLToken& T, unsigned Symbol, int32_t Pos) {
    if (Symbol == V(S::OPEN)) {
      PITarget_ = false;
      PIPos_ = Pos;
    } else if (Symbol == V(S::TAG)) {
      PITarget_ = true;
      const std::u16string_view target = T.Text();
      if (EqualsIgnoreCaseASCII(target, u"xml"))
        Error(Pos, u"The processing instruction target '%s' is reserved.", {target});
      else if (!CyXMLNames::IsName(target))
        Error(Pos, u"'%s' is not a valid processing instruction target.", {target});
    } else if (Symbol == V(S::CLOSE) || (Symbol == V(S::BODY) && !PITarget_)) {
      if (!PITarget_) Error(PIPos_ + 2, u"A processing instruction target is expected after '<?'.");
      PITarget_ = true;
    }
  }

  void XMLDeclToken(const TyXMLToken& T, unsigned Symbol, int32_t Pos) {
    if (Symbol == V(S::OPEN)) {
      XMLDeclIndex_ = 0;
      Attr_ = {};
      XMLDeclAtStart_ = Line_ == 1 && Pos == 1;
      if (!XMLDeclAtStart_)
        Error(Pos, u"The XML declaration is allowed only at the very start of the document.");
    } else if (Symbol == V(S::ATTRIBUTE_NAME)) {
      static const std::u16string_view order[] = {u"version", u"encoding", u"standalone"};
      const std::u16string_view name = T.Text();
      Attr_ = name;
      int index = -1;
      for (int i = 0; i < 3; ++i)
        if (name == order[i]) index = i;
      if (XMLDeclIndex_ == 0 && index != 0)
        Error(Pos, u"The XML declaration must begin with 'version'.");
      else if (index < 0 || index < XMLDeclIndex_)
        Error(Pos, u"'%s' is not expected here in the XML declaration.", {name});
      XMLDeclIndex_ = std::max(XMLDeclIndex_, index + 1);
    } else if (Symbol == V(S::CLOSE) && XMLDeclIndex_ == 0) {
      Error(Pos, u"The XML declaration must begin with 'version'.");
    }
  }

  void DoctypeToken(int32_t Pos) {
    if (!Stack_.empty())
      Error(Pos, u"A document type declaration is not allowed inside an element.");
    else if (!Silent_)
      Out_.Events.push_back({TyTagEventKind::tekDoctype, {}, Line_, Pos});
  }

  const TxTextList& List_;
  TyPieceResult& Out_;
  CyFindings Findings_;
  TxXMLParser Parser_;
  std::vector<TyOpenTag> Stack_;
  const TyPieceOptions Options_;
  TyStoredPiece* const Stored_;
  CyRawXMLChecker Raw_;  // works on Stack_ and Out_
  // Storing states: the state at the start of the line being read, the line-state scan and
  // the sum of the line deltas.
  TyXMLLineState State_;
  TxXMLParser StateParser_;
  int64_t TotalDelta_ = 0;
  bool Silent_ = false;
  int64_t Line_ = 0;
  // The tag being read.
  std::u16string_view TagName_;
  int64_t TagLine_ = 0;
  int32_t TagPos_ = 0;
  CyAttributeNameSet Attrs_;  // duplicates found in O(1) each
  std::u16string_view Attr_;
  int64_t AttrLine_ = 0;
  int32_t AttrPos_ = 0;
  bool AttrPending_ = false;    // a name waits for its '='
  bool ValueExpected_ = false;  // '=' after a name waits for its value
  bool NeedSpace_ = false;      // a value just closed: the next name needs white space first
  bool EndTagJunk_ = false;
  bool UnquotedValue_ = false;  // a value without quotes was just reported
  // Other constructs.
  std::u16string_view RefBody_;
  int32_t RefPos_ = 0;
  bool CommentDash_ = false;  // the comment text just before this token ends with '-'
  bool CommentDashReported_ = false;
  bool PITarget_ = true;
  int32_t PIPos_ = 0;
  int XMLDeclIndex_ = 0;
  bool XMLDeclAtStart_ = false;
};

}  // namespace

bool FindingBefore(const TyFinding& A, const TyFinding& B) {
  if (A.Line != B.Line) return A.Line < B.Line;
  if (A.Pos != B.Pos) return A.Pos < B.Pos;
  return A.Reason < B.Reason;
}

void CyFindings::Add(int64_t Line, int32_t Pos, std::u16string_view Format,
                     const std::vector<TyXMLErrFormatArg>& Args) {
  if (IsFullBefore(Line)) return;
  TyFinding finding{Line, Pos, FormatXMLErrReason(Format, Args), {}};
  finding.Parameters.reserve(Args.size());
  for (const TyXMLErrFormatArg& arg : Args) finding.Parameters.push_back(arg.Text);
  Items_.push_back(std::move(finding));
  if (Items_.size() >= 2 * Max_) Trim();
}

void CyFindings::Trim() {
  std::stable_sort(Items_.begin(), Items_.end(), FindingBefore);
  if (Items_.size() >= Max_) {
    Items_.resize(Max_);
    Full_ = true;
    LastLine_ = Items_.back().Line;
  }
}

std::vector<TyFinding> CyFindings::Take() {
  Trim();
  return std::move(Items_);
}

void AddTagEvent(TyPieceResult& Out, const std::vector<TyOpenTag>& Stack, TyTagEventKind Kind,
                 std::u16string_view Name, int64_t Line, int32_t Pos) {
  if (!Stack.empty()) return;
  // Keeps the events few for text-heavy broken files.
  if (Kind == TyTagEventKind::tekText && !Out.Events.empty() &&
      Out.Events.back().Kind == TyTagEventKind::tekText)
    return;
  Out.Events.push_back({Kind, Name, Line, Pos});
}

bool IsXMLChar(char32_t c) {
  return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
         (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

bool IsPredefinedEntity(std::u16string_view Name) {
  return Name == u"amp" || Name == u"lt" || Name == u"gt" || Name == u"quot" || Name == u"apos";
}

int64_t CharRefValue(std::u16string_view Digits) {
  int base = 10;
  if (!Digits.empty() && Digits[0] == u'x') {
    base = 16;
    Digits.remove_prefix(1);
  }
  if (Digits.empty()) return -1;
  int64_t value = 0;
  for (char16_t c : Digits) {
    int d;
    if (c >= u'0' && c <= u'9')
      d = c - u'0';
    else if (base == 16 && c >= u'a' && c <= u'f')
      d = c - u'a' + 10;
    else if (base == 16 && c >= u'A' && c <= u'F')
      d = c - u'A' + 10;
    else
      return -1;
    value = std::min<int64_t>(value * base + d, 0x110000);
  }
  return value;
}

size_t FindForbiddenCharacter(std::u16string_view Text, char32_t& Bad) {
  // Almost every character lies in U+0020 .. U+D7FF: blocks of them are passed with one test
  // per character, without an early exit, that compilers turn into vector code; only blocks
  // with other characters (surrogate pairs of emoji, tabs) are looked at one by one.
  constexpr size_t kBlock = 32;
  const size_t n = Text.size();
  for (size_t i = 0; i < n;) {
    const size_t end = std::min(n, i + kBlock);
    uint16_t outside = 0;
    for (size_t k = i; k < end; ++k)
      outside |= static_cast<uint16_t>(static_cast<uint16_t>(Text[k] - 0x20) >= 0xD800 - 0x20);
    if (outside == 0) {
      i = end;
      continue;
    }
    for (; i < end; ++i) {
      const char16_t c = Text[i];
      if (c >= 0x20 && c < 0xD800) continue;
      if (c < 0x20) {
        if (c == 0x9) continue;
      } else if (c <= 0xDBFF && i + 1 < n && Text[i + 1] >= 0xDC00 && Text[i + 1] <= 0xDFFF) {
        ++i;  // a pair; it may end in the next block, which then starts after it
        continue;
      } else if (c > 0xDFFF && c != 0xFFFE && c != 0xFFFF) {
        continue;
      }
      Bad = c;
      return i;
    }
  }
  return std::u16string_view::npos;
}

void CheckPiece(const TxTextList& List, int64_t FirstLine, int64_t Count, TyPieceResult& Out,
                const TyPieceOptions& Options) {
  CyPieceChecker(List, Out, Options, nullptr).Run(FirstLine, Count);
}

void CheckPieceStoringStates(const TxTextList& List, int64_t FirstLine, int64_t Count,
                             TyStoredPiece& Out, const TyPieceOptions& Options) {
  TyPieceResult working;
  CyPieceChecker(List, working, Options, &Out).Run(FirstLine, Count);
}

}  // namespace xylem::wellformed
