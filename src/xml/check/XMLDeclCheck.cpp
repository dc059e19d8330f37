#include "xml/check/XMLDeclCheck.hpp"

#include <string>

#include "xml/check/SourceCursor.hpp"

namespace xylem::wellformed {

namespace {

bool IsSpace(int32_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsLetter(int32_t c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsDigit(int32_t c) { return c >= '0' && c <= '9'; }

// The grammar stops at its first failure, which it throws as this.
struct TyDeclFailure {
  int64_t Line;
  int32_t Pos;
  std::u16string Message;
};

class CyXMLDeclGrammar {
 public:
  explicit CyXMLDeclGrammar(CySourceCursor Cursor) : C_(Cursor) {}

  TyXMLDeclInfo Rule_23_XMLDecl() {
    TyXMLDeclInfo info;
    info.Present = true;
    C_.Skip(5);  // "<?xml"
    VersionInfo();
    if (Follows(u"encoding")) EncodingDecl();
    if (Follows(u"standalone")) info.Standalone = SDDecl();
    C_.SkipSpace();
    Expect(u"?>");
    return info;
  }

 private:
  [[noreturn]] void Fail(std::u16string Message) {
    throw TyDeclFailure{C_.getLine(), C_.getPos(), std::move(Message)};
  }
  void Expect(std::u16string_view Literal) {
    if (!C_.LookingAt(Literal)) Fail(u"Expected \"" + std::u16string(Literal) + u"\".");
    C_.Skip(Literal.size());
  }
  // White space then Name, without moving.
  bool Follows(std::u16string_view Name) {
    CySourceCursor probe = C_;
    probe.SkipSpace();
    return probe.LookingAt(Name);
  }
  void Eq() {
    C_.SkipSpace();
    Expect(u"=");
    C_.SkipSpace();
  }
  // The quoted value; Start receives the cursor at the opening quote.
  std::u16string Quoted(const char16_t* NotQuoted, CySourceCursor& Start) {
    Start = C_;
    const int32_t quote = C_.Peek();
    if (quote != '"' && quote != '\'') Fail(NotQuoted);
    C_.Next();
    std::u16string value;
    while (C_.Peek() != quote && C_.Peek() != CySourceCursor::kEnd && C_.Peek() != '>' &&
           value.size() < 256) {
      value.push_back(static_cast<char16_t>(C_.Peek()));
      C_.Next();
    }
    Expect(quote == '"' ? u"\"" : u"'");
    return value;
  }
  void FailAt(const CySourceCursor& At, std::u16string Message) {
    C_ = At;
    Fail(std::move(Message));
  }

  void VersionInfo() {
    if (!C_.SkipSpace()) Fail(u"Whitespace is required before the version pseudo attribute.");
    Expect(u"version");
    Eq();
    CySourceCursor start = C_;
    const std::u16string v =
        Quoted(u"The value following \"version\" must be a quoted string.", start);
    bool ok = v.size() > 2 && v[0] == u'1' && v[1] == u'.';
    for (size_t i = 2; ok && i < v.size(); ++i) ok = IsDigit(v[i]);
    if (!ok) FailAt(start, u"The version value must be \"1.0\".");
  }
  void EncodingDecl() {
    if (!C_.SkipSpace()) Fail(u"Whitespace is required before the encoding pseudo attribute.");
    Expect(u"encoding");
    Eq();
    CySourceCursor start = C_;
    const std::u16string v =
        Quoted(u"The value following \"encoding\" must be a quoted string.", start);
    bool ok = !v.empty() && IsLetter(v[0]);
    for (size_t i = 1; ok && i < v.size(); ++i)
      ok = IsLetter(v[i]) || IsDigit(v[i]) || v[i] == u'.' || v[i] == u'_' || v[i] == u'-';
    if (!ok) FailAt(start, u"The encoding value is invalid.");
  }
  bool SDDecl() {
    if (!C_.SkipSpace()) Fail(u"Whitespace is required before the standalone pseudo attribute.");
    Expect(u"standalone");
    Eq();
    CySourceCursor start = C_;
    const std::u16string v =
        Quoted(u"The value following \"standalone\" must be a quoted string.", start);
    if (v != u"yes" && v != u"no")
      FailAt(start, u"The standalone value must be \"yes\" or \"no\".");
    return v == u"yes";
  }

  CySourceCursor C_;
};

}  // namespace

bool BeginsXMLDeclaration(std::u16string_view Text) {
  return Text.starts_with(u"<?xml") && (Text.size() == 5 || IsSpace(Text[5]) || Text[5] == u'?');
}

TyXMLDeclInfo CheckXMLDeclaration(const TxTextList& List, CyFindings& Findings) {
  if (List.getCount() == 0 || !BeginsXMLDeclaration(List.getLine(1))) return {};
  try {
    return CyXMLDeclGrammar(CySourceCursor(List, 1, 1)).Rule_23_XMLDecl();
  } catch (const TyDeclFailure& failure) {
    Findings.Add(failure.Line, failure.Pos, failure.Message);
    TyXMLDeclInfo info;
    info.Present = true;
    return info;
  }
}

}  // namespace xylem::wellformed
