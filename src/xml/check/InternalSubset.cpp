#include "xml/check/InternalSubset.hpp"

#include <string>
#include <unordered_set>

#include "xml/check/SourceCursor.hpp"
#include "xml/syntax/Names.hpp"

namespace xylem::wellformed {

namespace {

bool IsSpace(int32_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

bool IsPubidChar(int32_t c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
  return c == ' ' || c == '\r' || c == '\n' ||
         std::u16string_view(u"-'()+,./:=?;!*#@$_%").find(static_cast<char16_t>(c)) !=
             std::u16string_view::npos;
}

// The declaration stops at its first fault, which is thrown as this.
struct TyFault {
  int64_t Line;
  int32_t Pos;
  std::u16string_view Format;
  std::vector<TyXMLErrFormatArg> Args;
};

// Replacement texts of the predefined entities XML 1.0 allows when they are declared.
bool AllowedPredefined(std::u16string_view Name, const TyEntityDecl& Decl) {
  static const struct {
    std::u16string_view Name;
    char32_t Char;
    bool Literal;  // the character itself is allowed too
  } kRules[] = {{u"lt", '<', false},
                {u"amp", '&', false},
                {u"gt", '>', true},
                {u"apos", '\'', true},
                {u"quot", '"', true}};
  for (const auto& rule : kRules) {
    if (rule.Name != Name) continue;
    if (Decl.Kind != TyEntityKind::ekInternal) return false;
    const std::u16string_view text = Decl.Text;
    if (rule.Literal && text.size() == 1 && text[0] == rule.Char) return true;
    if (!text.starts_with(u"&#") || !text.ends_with(u";") || text.size() < 4) return false;
    return CharRefValue(text.substr(2, text.size() - 3)) == rule.Char;
  }
  return true;
}

class CyDoctypeParser {
 public:
  CyDoctypeParser(CySourceCursor Cursor, bool Standalone, TyDoctypeInfo& Info)
      : C_(Cursor), Standalone_(Standalone), Info_(Info) {}

  void Run() {
    if (!C_.LookingAt(u"<!DOCTYPE"))
      Fail(u"The document type declaration must begin with '<!DOCTYPE' in upper case.");
    C_.Skip(9);
    RequireSpace(u"'<!DOCTYPE'");
    Name(u"the document type declaration");
    const bool space = C_.SkipSpace();
    if (C_.LookingAt(u"SYSTEM") || C_.LookingAt(u"PUBLIC")) {
      if (!space) Fail(u"White space is required before the external identifier.");
      ExternalID(false);
      Info_.ExternalSubset = true;
      C_.SkipSpace();
    }
    if (C_.Peek() == '[') {
      C_.Next();
      Subset(false);
      if (C_.Peek() != ']') Fail(u"The internal subset is not closed with ']'.");
      C_.Next();
      C_.SkipSpace();
    }
    if (C_.Peek() != '>') Fail(u"Document type declaration is not closed with '>'.");
  }

 private:
  [[noreturn]] void Fail(std::u16string_view Format,
                         const std::vector<TyXMLErrFormatArg>& Args = {}) {
    throw TyFault{C_.getLine(), C_.getPos(), Format, Args};
  }
  void RequireSpace(std::u16string_view After) {
    if (!C_.SkipSpace()) Fail(u"White space is required after %s.", {After});
  }
  // A run of name characters (none: empty).
  std::u16string NameChars() {
    std::u16string name;
    for (int32_t c = C_.Peek(); c != CySourceCursor::kEnd && c != '\n' &&
                                CyXMLNames::IsName_Char(2, static_cast<char16_t>(c));
         c = C_.Peek()) {
      name.push_back(static_cast<char16_t>(c));
      C_.Next();
    }
    return name;
  }
  std::u16string Name(std::u16string_view Where) {
    const CySourceCursor start = C_;
    std::u16string name = NameChars();
    if (!CyXMLNames::IsName(name)) {
      C_ = start;
      Fail(u"A name is expected in %s.", {Where});
    }
    return name;
  }
  void Expect(std::u16string_view Literal) {
    if (!C_.LookingAt(Literal)) Fail(u"'%s' is expected here.", {Literal});
    C_.Skip(Literal.size());
  }
  void EndDeclaration(std::u16string_view What) {
    C_.SkipSpace();
    if (C_.Peek() != '>') Fail(u"The %s declaration is not closed with '>'.", {What});
    C_.Next();
  }
  // A quoted literal. Pubid: only PubidChar allowed.
  void Literal(bool Pubid) {
    const int32_t quote = C_.Peek();
    if (quote != '"' && quote != '\'') Fail(u"A quoted literal is expected here.");
    C_.Next();
    for (int32_t c = C_.Peek(); c != quote; c = C_.Peek()) {
      if (c == CySourceCursor::kEnd) Fail(u"The literal is not closed.");
      if (Pubid && !IsPubidChar(c))
        Fail(u"Character '%s' is not allowed in a public identifier.",
             {std::u16string_view(std::u16string(1, static_cast<char16_t>(c)))});
      C_.Next();
    }
    C_.Next();
  }
  // 'SYSTEM' S SystemLiteral | 'PUBLIC' S PubidLiteral (S SystemLiteral)? — the system
  // literal optional only in a notation declaration.
  void ExternalID(bool Notation) {
    if (C_.LookingAt(u"SYSTEM")) {
      C_.Skip(6);
      RequireSpace(u"'SYSTEM'");
      Literal(false);
      return;
    }
    Expect(u"PUBLIC");
    RequireSpace(u"'PUBLIC'");
    Literal(true);
    CySourceCursor after = C_;
    const bool space = C_.SkipSpace();
    if (C_.Peek() == '"' || C_.Peek() == '\'') {
      if (!space) Fail(u"White space is required before the system literal.");
      Literal(false);
    } else if (!Notation) {
      Fail(u"A system literal is expected after the public identifier.");
    } else {
      C_ = after;
    }
  }

  // ---- the internal subset ---------------------------------------------------------------
  // Declarations until ']' (or, for a parameter entity's text, its end).
  void Subset(bool InEntity) {
    for (;;) {
      C_.SkipSpace();
      const int32_t c = C_.Peek();
      if (c == CySourceCursor::kEnd || (c == ']' && !InEntity)) return;
      if (c == '%') {
        ParameterReference();
      } else if (C_.LookingAt(u"<!ELEMENT")) {
        ElementDecl();
      } else if (C_.LookingAt(u"<!ATTLIST")) {
        AttlistDecl();
      } else if (C_.LookingAt(u"<!ENTITY")) {
        EntityDecl();
      } else if (C_.LookingAt(u"<!NOTATION")) {
        NotationDecl();
      } else if (C_.LookingAt(u"<!--")) {
        Comment();
      } else if (C_.LookingAt(u"<?")) {
        PI();
      } else if (C_.LookingAt(u"<![")) {
        Fail(u"Conditional sections are not allowed in the internal subset.");
      } else {
        Fail(u"A markup declaration is expected in the internal subset.");
      }
    }
  }

  void ParameterReference() {
    C_.Next();
    const std::u16string name = Name(u"the parameter-entity reference");
    if (C_.Peek() != ';') Fail(u"The parameter-entity reference must end with ';'.");
    const bool decided = Standalone_ || (!Info_.ExternalSubset && !Info_.PEReferences);
    Info_.PEReferences = true;
    const auto found = Info_.Parameter.find(name);
    if (found == Info_.Parameter.end()) {
      if (decided) Fail(u"Parameter entity '%s' is not declared.", {std::u16string_view(name)});
      C_.Next();
      return;
    }
    if (found->second.Kind != TyEntityKind::ekInternal) {
      C_.Next();
      return;  // never read
    }
    if (Active_.size() >= 40)
      Fail(u"Parameter entity '%s' nests references more than 40 levels deep.",
           {std::u16string_view(name)});
    if (!Active_.insert(name).second)
      Fail(u"Parameter entity '%s' refers to itself.", {std::u16string_view(name)});
    // The replacement text must hold whole declarations; its faults are placed at the reference.
    const CySourceCursor outer = C_;
    C_ = CySourceCursor(found->second.Text, outer.getLine(), outer.getPos());
    Subset(true);
    C_ = outer;
    C_.Next();
    Active_.erase(name);
  }

  void ElementDecl() {
    C_.Skip(9);
    RequireSpace(u"'<!ELEMENT'");
    Name(u"the element type declaration");
    RequireSpace(u"the element type name");
    if (C_.LookingAt(u"EMPTY")) {
      C_.Skip(5);
    } else if (C_.LookingAt(u"ANY")) {
      C_.Skip(3);
    } else if (C_.Peek() == '(') {
      C_.Next();
      C_.SkipSpace();
      if (C_.LookingAt(u"#PCDATA"))
        Mixed();
      else
        Group(1);
    } else {
      Fail(u"'EMPTY', 'ANY' or a content model in parentheses is expected.");
    }
    EndDeclaration(u"element type");
  }

  // After "(#PCDATA": ( S? '|' S? Name )* S? ')*' | S? ')'.
  void Mixed() {
    C_.Skip(7);
    bool names = false;
    for (;;) {
      C_.SkipSpace();
      if (C_.Peek() == ')') break;
      if (C_.Peek() != '|') Fail(u"'|' or ')' is expected in a mixed content model.");
      C_.Next();
      C_.SkipSpace();
      Name(u"the mixed content model");
      names = true;
    }
    C_.Next();
    if (C_.Peek() == '*') {
      C_.Next();
    } else if (names) {
      Fail(u"A mixed content model with element names must end with ')*'.");
    }
  }

  // After '(' and white space: cp ( S? sep S? cp )* S? ')' with one kind of separator.
  void Group(int Depth) {
    if (Depth > 256) Fail(u"Content models are nested too deeply.");
    char16_t separator = 0;
    for (;;) {
      ContentParticle(Depth);
      C_.SkipSpace();
      const int32_t c = C_.Peek();
      if (c == ')') break;
      if (c != '|' && c != ',') Fail(u"',', '|' or ')' is expected in a content model.");
      if (separator == 0) separator = static_cast<char16_t>(c);
      if (c != separator) Fail(u"',' and '|' may not be mixed in one group of a content model.");
      C_.Next();
      C_.SkipSpace();
    }
    C_.Next();
    Occurrence();
  }
  void ContentParticle(int Depth) {
    if (C_.Peek() == '(') {
      C_.Next();
      C_.SkipSpace();
      Group(Depth + 1);
      return;
    }
    if (C_.LookingAt(u"#PCDATA")) Fail(u"'#PCDATA' may stand only first in a mixed content model.");
    Name(u"the content model");
    Occurrence();
  }
  void Occurrence() {
    const int32_t c = C_.Peek();
    if (c == '?' || c == '*' || c == '+') C_.Next();
  }

  void AttlistDecl() {
    C_.Skip(9);
    RequireSpace(u"'<!ATTLIST'");
    Name(u"the attribute-list declaration");
    for (;;) {
      const bool space = C_.SkipSpace();
      if (C_.Peek() == '>') break;
      if (!space) Fail(u"White space is required before an attribute definition.");
      Name(u"the attribute definition");
      RequireSpace(u"the attribute name");
      AttType();
      RequireSpace(u"the attribute type");
      DefaultDecl();
    }
    C_.Next();
  }
  void AttType() {
    if (C_.Peek() == '(') {
      Enumeration(false);
      return;
    }
    const CySourceCursor start = C_;
    const std::u16string word = NameChars();
    static const std::u16string_view kTypes[] = {u"CDATA",  u"ID",       u"IDREF",   u"IDREFS",
                                                 u"ENTITY", u"ENTITIES", u"NMTOKEN", u"NMTOKENS"};
    for (std::u16string_view type : kTypes)
      if (word == type) return;
    if (word == u"NOTATION") {
      RequireSpace(u"'NOTATION'");
      if (C_.Peek() != '(') Fail(u"'(' is expected after 'NOTATION'.");
      Enumeration(true);
      return;
    }
    C_ = start;
    Fail(
        u"An attribute type is expected (CDATA, ID, IDREF, IDREFS, ENTITY, ENTITIES, NMTOKEN, "
        u"NMTOKENS, NOTATION or an enumeration).");
  }
  // '(' S? token (S? '|' S? token)* S? ')': names for NOTATION, name tokens otherwise.
  void Enumeration(bool Names) {
    C_.Next();
    for (;;) {
      C_.SkipSpace();
      if (Names) {
        Name(u"the notation type");
      } else if (NameChars().empty()) {
        Fail(u"A name token is expected in the enumeration.");
      }
      C_.SkipSpace();
      if (C_.Peek() == ')') break;
      if (C_.Peek() != '|') Fail(u"'|' or ')' is expected in the enumeration.");
      C_.Next();
    }
    C_.Next();
  }
  void DefaultDecl() {
    if (C_.LookingAt(u"#REQUIRED")) return C_.Skip(9);
    if (C_.LookingAt(u"#IMPLIED")) return C_.Skip(8);
    if (C_.LookingAt(u"#FIXED")) {
      C_.Skip(6);
      RequireSpace(u"'#FIXED'");
    } else if (C_.Peek() == '#') {
      Fail(u"'#REQUIRED', '#IMPLIED' or '#FIXED' is expected.");
    }
    AttValue();
  }
  // An attribute value: no '<', references well formed; entity references are declared before.
  void AttValue() {
    const int32_t quote = C_.Peek();
    if (quote != '"' && quote != '\'') Fail(u"A quoted default value is expected.");
    C_.Next();
    for (int32_t c = C_.Peek(); c != quote; c = C_.Peek()) {
      if (c == CySourceCursor::kEnd) Fail(u"The default value is not closed.");
      if (c == '<') Fail(u"A default value must not contain '<'.");
      if (c == '&') {
        const CySourceCursor at = C_;
        C_.Next();
        if (C_.Peek() == '#') {
          CharReference(at);
          continue;
        }
        const std::u16string name = Name(u"the entity reference");
        if (C_.Peek() != ';') Fail(u"The entity reference must end with ';'.");
        if (!IsPredefinedEntity(name)) {
          if (!Info_.General.contains(name) &&
              (Standalone_ || (!Info_.ExternalSubset && !Info_.PEReferences))) {
            C_ = at;
            Fail(u"Entity '%s' is not declared.", {std::u16string_view(name)});
          }
          Info_.DefaultReferences.push_back({name, at.getLine(), at.getPos()});
        }
      }
      C_.Next();
    }
    C_.Next();
  }
  // At '#' after '&' (At): the reference's value, which must be a character XML allows; leaves
  // the cursor after ';'.
  char32_t CharReference(const CySourceCursor& At) {
    std::u16string digits;
    C_.Next();
    while (C_.Peek() != ';' && C_.Peek() != CySourceCursor::kEnd && digits.size() < 16 &&
           !IsSpace(C_.Peek())) {
      digits.push_back(static_cast<char16_t>(C_.Peek()));
      C_.Next();
    }
    const int64_t value = C_.Peek() == ';' ? CharRefValue(digits) : -1;
    if (value < 0 || !IsXMLChar(static_cast<char32_t>(value))) {
      C_ = At;
      Fail(value < 0 ? u"'&#%s;' is not a valid character reference."
                     : u"Character reference '&#%s;' refers to a character that XML 1.0 forbids.",
           {std::u16string_view(digits)});
    }
    C_.Next();
    return static_cast<char32_t>(value);
  }

  void EntityDecl() {
    C_.Skip(8);
    RequireSpace(u"'<!ENTITY'");
    bool parameter = false;
    if (C_.Peek() == '%') {
      C_.Next();
      RequireSpace(u"'%'");
      parameter = true;
    }
    const std::u16string name = Name(u"the entity declaration");
    RequireSpace(u"the entity name");
    TyEntityDecl decl;
    if (C_.Peek() == '"' || C_.Peek() == '\'') {
      decl.Text = EntityValue();
    } else if (C_.LookingAt(u"SYSTEM") || C_.LookingAt(u"PUBLIC")) {
      ExternalID(false);
      decl.Kind = TyEntityKind::ekExternal;
      const CySourceCursor after = C_;
      const bool space = C_.SkipSpace();
      if (C_.LookingAt(u"NDATA")) {
        if (parameter) Fail(u"A parameter entity cannot be unparsed ('NDATA').");
        if (!space) Fail(u"White space is required before 'NDATA'.");
        C_.Skip(5);
        RequireSpace(u"'NDATA'");
        Name(u"the 'NDATA' declaration");
        decl.Kind = TyEntityKind::ekUnparsed;
      } else {
        C_ = after;
      }
    } else {
      Fail(u"A quoted entity value or an external identifier is expected.");
    }
    EndDeclaration(u"entity");
    if (!parameter && !AllowedPredefined(name, decl))
      Fail(u"The predefined entity '%s' may be declared only as the character it stands for.",
           {std::u16string_view(name)});
    (parameter ? Info_.Parameter : Info_.General).try_emplace(name, std::move(decl));
  }
  // The literal's replacement text: character references replaced, entity references kept.
  std::u16string EntityValue() {
    const int32_t quote = C_.Peek();
    C_.Next();
    std::u16string text;
    for (int32_t c = C_.Peek(); c != quote; c = C_.Peek()) {
      if (c == CySourceCursor::kEnd) Fail(u"The entity value is not closed.");
      if (c == '%')
        Fail(
            u"Parameter-entity references are not allowed inside declarations of the internal "
            u"subset.");
      if (c == '&') {
        const CySourceCursor at = C_;
        C_.Next();
        if (C_.Peek() == '#') {
          const char32_t value = CharReference(at);
          if (value > 0xFFFF) {
            text.push_back(static_cast<char16_t>(0xD800 + ((value - 0x10000) >> 10)));
            text.push_back(static_cast<char16_t>(0xDC00 + ((value - 0x10000) & 0x3FF)));
          } else {
            text.push_back(static_cast<char16_t>(value));
          }
          continue;
        }
        const std::u16string name = Name(u"the entity reference");
        if (C_.Peek() != ';') Fail(u"The entity reference must end with ';'.");
        text += u'&' + name + u';';
        C_.Next();
        continue;
      }
      text.push_back(static_cast<char16_t>(c));
      C_.Next();
    }
    C_.Next();
    return text;
  }

  void NotationDecl() {
    C_.Skip(10);
    RequireSpace(u"'<!NOTATION'");
    Name(u"the notation declaration");
    RequireSpace(u"the notation name");
    if (!C_.LookingAt(u"SYSTEM") && !C_.LookingAt(u"PUBLIC"))
      Fail(u"'SYSTEM' or 'PUBLIC' is expected in the notation declaration.");
    ExternalID(true);
    EndDeclaration(u"notation");
  }

  void Comment() {
    C_.Skip(4);
    for (;;) {
      if (C_.AtEnd()) Fail(u"Comment is not closed with '-->'.");
      if (C_.Peek() == '-' && C_.Peek(1) == '-') {
        if (C_.Peek(2) != '>') Fail(u"The sequence '--' is not allowed in comments.");
        C_.Skip(3);
        return;
      }
      C_.Next();
    }
  }

  void PI() {
    C_.Skip(2);
    const CySourceCursor start = C_;
    const std::u16string target = NameChars();
    if (!CyXMLNames::IsName(target)) {
      C_ = start;
      Fail(u"A processing instruction target is expected after '<?'.");
    }
    if (target.size() == 3 && (target[0] | 32) == 'x' && (target[1] | 32) == 'm' &&
        (target[2] | 32) == 'l') {
      C_ = start;
      Fail(u"The processing instruction target '%s' is reserved.", {std::u16string_view(target)});
    }
    if (!C_.LookingAt(u"?>") && !IsSpace(C_.Peek()))
      Fail(u"White space is required after the processing instruction target.");
    for (;;) {
      if (C_.AtEnd()) Fail(u"Processing instruction is not closed with '?>'.");
      if (C_.Peek() == '?' && C_.Peek(1) == '>') {
        C_.Skip(2);
        return;
      }
      C_.Next();
    }
  }

  CySourceCursor C_;
  bool Standalone_;
  TyDoctypeInfo& Info_;
  std::unordered_set<std::u16string> Active_;  // parameter entities being read
};

}  // namespace

void CheckDoctype(const TxTextList& List, int64_t Line, int32_t Pos, bool Standalone,
                  TyDoctypeInfo& Info, CyFindings& Findings) {
  try {
    CyDoctypeParser(CySourceCursor(List, Line, Pos), Standalone, Info).Run();
  } catch (const TyFault& fault) {
    Findings.Add(fault.Line, fault.Pos, fault.Format, fault.Args);
  }
}

}  // namespace xylem::wellformed
