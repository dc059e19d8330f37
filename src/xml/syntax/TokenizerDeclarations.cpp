// The document type declaration, its internal subset and the markup declarations in it.
#include "common/Exception.hpp"
#include "xml/syntax/Tokenizer.hpp"
#include "xml/syntax/TokenizerChars.hpp"

namespace xylem {

using namespace xmltokenizer;

void TxXMLParser::DeclarationDispatch(unsigned Group) {
  const bool doctype = Group == V(G::DOCTYPE);
  const char16_t c = *P_;
  if (IsSpace(c)) return Go(S::WHITESPACE);
  switch (c) {
    case kNul:
      return AtEnd_ ? GoMissing(S::CLOSE) : Go(S::WHITESPACE);
    case u'\'':
      return Go(S::STRING1_N_OPEN);
    case u'"':
      return Go(S::STRING2_N_OPEN);
    case u'>':
      return Go(S::CLOSE);
    case u'<':
      return GoMissing(S::CLOSE);
    case u'[':
      if (!doctype) break;
      Go(S::WHITESPACE);  // where the declaration resumes after the internal subset
      return Push(S::OPEN, V(G::DT_DECL));
    case u'(':
      if (doctype || !CanPush()) break;
      Go(S::WHITESPACE);
      return Push(S::BRACKET_N_OPEN, Group);
    default:
      break;
  }
  Go(S::ATTRIBUTE_NAME);
}

void TxXMLParser::ScanDeclaration(unsigned Group, unsigned Symbol) {
  switch (Symbol) {
    case V(S::OPEN):
      switch (static_cast<G>(Group)) {
        case G::DT_DECL_ENTITY:
          Skip(8);
          break;  // <!ENTITY
        case G::DT_DECL_NOTATION:
          Skip(10);
          break;  // <!NOTATION
        default:
          Skip(9);
          break;  // <!DOCTYPE <!ATTLIST <!ELEMENT
      }
      return Go(S::WHITESPACE);
    case V(S::WHITESPACE):
      P_ = SkipSpace(P_);
      return DeclarationDispatch(Group);
    case V(S::ATTRIBUTE_NAME): {
      const CySet& stop = Group == V(G::DOCTYPE) ? kDoctypeWordStop : kDeclWordStop;
      Skip(1);
      while (!stop.Has(*P_)) ++P_;
      return DeclarationDispatch(Group);
    }
    case V(S::STRING1_N_OPEN):
      Skip(1);
      return Go(S::STRING1_N);
    case V(S::STRING2_N_OPEN):
      Skip(1);
      return Go(S::STRING2_N);
    case V(S::STRING1_N):
    case V(S::STRING2_N): {
      const bool single = Symbol == V(S::STRING1_N);
      const char16_t quote = single ? u'\'' : u'"';
      const char16_t* p = P_;
      while (*p != quote && *p != kNul) ++p;
      P_ = p;
      if (*p == quote)
        Go(single ? S::STRING1_N_CLOSE : S::STRING2_N_CLOSE);
      else if (AtEnd_)
        GoMissing(single ? S::STRING1_N_CLOSE : S::STRING2_N_CLOSE);
      return;
    }
    case V(S::STRING1_N_CLOSE):
    case V(S::STRING2_N_CLOSE):
      Skip(1);
      return DeclarationDispatch(Group);
    case M(S::STRING1_N_CLOSE):
    case M(S::STRING2_N_CLOSE):
      return DeclarationDispatch(Group);
    case V(S::CLOSE):
      Skip(1);
      return PopState();
    case M(S::CLOSE):
      return PopState();
    default:
      break;
  }
  if (Group == V(G::DOCTYPE)) Impossible();
  switch (Symbol) {
    case V(S::BRACKET_N_OPEN):
      Skip(1);
      return Go(S::BRACKET_N);
    case V(S::BRACKET_R_OPEN):
      Skip(1);
      return Go(S::BRACKET_R);
    case V(S::BRACKET_N):
    case V(S::BRACKET_R): {
      const bool outer = Symbol == V(S::BRACKET_N);
      const char16_t* p = P_;
      char16_t c;
      for (;;) {
        c = *p;
        if (kBracketStop.Has(c)) {
          // With every cell in use a deeper group is read as plain content.
          if (c == u'(' && !CanPush()) {
            ++p;
            continue;
          }
          break;
        }
        ++p;
      }
      P_ = p;
      switch (c) {
        case u'(':
          return Push(S::BRACKET_R_OPEN, Group);
        case u')':
          return Go(outer ? S::BRACKET_N_CLOSE : S::BRACKET_R_CLOSE);
        case kNul:
          if (!AtEnd_) return;
          [[fallthrough]];
        default:
          return GoMissing(outer ? S::BRACKET_N_CLOSE : S::BRACKET_R_CLOSE);
      }
    }
    case V(S::BRACKET_N_CLOSE):
    case V(S::BRACKET_R_CLOSE):
      Skip(1);
      return PopState();
    case M(S::BRACKET_N_CLOSE):
    case M(S::BRACKET_R_CLOSE):
      return PopState();
    default:
      Impossible();
  }
}

void TxXMLParser::ScanSubset(unsigned Symbol) {
  switch (Symbol) {
    case V(S::OPEN):
      Skip(1);
      return Go(S::BODY);
    case V(S::BODY): {
      const char16_t* p = P_;
      for (;; ++p) {
        const char16_t c = *p;
        if (c == kNul || c == u']') break;
        // A processing instruction may hold ']' and '>': it runs to its "?>".
        if (c == u'<' && p[1] == u'?') {
          P_ = p;
          return Push(S::OPEN, V(G::PI));
        }
        if (c != u'<' || p[1] != u'!') continue;
        G opening = G::NONE;
        if (Match(p + 2, u"--"))
          opening = G::DT_DECL_COMMENT;
        else if (p[2] == u'[')
          opening = G::DT_DECL_CONDITIONAL;
        else if (Match(p + 2, u"ATTLIST"))
          opening = G::DT_DECL_ATTLIST;
        else if (Match(p + 2, u"ELEMENT"))
          opening = G::DT_DECL_ELEMENT;
        else if (Match(p + 2, u"ENTITY"))
          opening = G::DT_DECL_ENTITY;
        else if (Match(p + 2, u"NOTATION"))
          opening = G::DT_DECL_NOTATION;
        if (opening != G::NONE) {
          P_ = p;
          return Push(S::OPEN, V(opening));
        }
      }
      P_ = p;
      if (*p == u']')
        Go(S::CLOSE);
      else if (AtEnd_)
        GoMissing(S::CLOSE);
      return;
    }
    case V(S::CLOSE):
      Skip(1);
      return PopState();
    case M(S::CLOSE):
      return PopState();
    default:
      Impossible();
  }
}

}  // namespace xylem
