#include "xml/syntax/RawXMLLineLexer.hpp"

#include "common/Utf.hpp"
#include "xml/syntax/TokenizerChars.hpp"
#include "xml/syntax/TokenizerKinds.hpp"

namespace xylem {

namespace {

using G = TyXMLGroup;
using S = TyXMLSymbol;
using namespace xmltokenizer;

class CyLexer {
 public:
  CyLexer(const char16_t* Text, const char16_t* End, std::vector<TyXMLScanToken>& Out)
      : Text_(Text), End_(End), Out_(Out) {}

  const char16_t* Constructs(const char16_t* p, const char16_t* Limit) {
    while (*p != u'\0' && !(Limit && p >= Limit) && Out_.size() < CyRawXMLLineLexer::kBatch) {
      const size_t before = Out_.size();
      const char16_t* next = *p == u'<'                               ? Markup(p)
                             : *p == u'&' && PredefinedLength(p) == 0 ? Reference(p)
                                                                      : Text(p);
      if (!next) {
        Out_.resize(before);  // the tokenizer reads this construct whole
        return p;
      }
      p = next;
    }
    return p;
  }

 private:
  void Emit(G Group, S Symbol, const char16_t* A, const char16_t* B, bool Extra = false) {
    Out_.push_back({static_cast<uint8_t>(Group), static_cast<uint8_t>(Symbol), false, Extra,
                    A - Text_, B - Text_});
  }

  // Character data up to markup or a reference other than the five predefined ones.
  const char16_t* Text(const char16_t* p) {
    static constexpr char16_t kStops[] = {u'<', u'&'};
    const char16_t* start = p;
    for (;;) {
      p = FindAnyUnit(p, End_, kStops);
      if (p == End_ || *p == u'<') break;
      const unsigned n = PredefinedLength(p);
      if (n == 0) break;
      p += n;
    }
    Emit(G::TEXT, S::BODY, start, p);
    return p;
  }

  const char16_t* Reference(const char16_t* p) {
    const char16_t* body = p + 1;
    const char16_t* q = body;
    while (!kRefStop.Has(*q)) ++q;
    if (*q != u';') return nullptr;  // missing ";"
    Emit(G::REF_ENTITY, S::OPEN, p, body);
    if (q > body) Emit(G::REF_ENTITY, S::BODY, body, q);
    Emit(G::REF_ENTITY, S::CLOSE, q, q + 1);
    return q + 1;
  }

  // A section closed on this line by Close (three characters).
  const char16_t* Section(const char16_t* p, size_t OpenLength, G Group,
                          std::u16string_view Close) {
    const char16_t* close = p + OpenLength;
    for (;; ++close) {
      close = FindUnit(close, End_, Close[0]);
      if (close == End_) return nullptr;
      if (close[1] == Close[1] && close[2] == Close[2]) break;
    }
    Emit(Group, S::OPEN, p, p + OpenLength);
    if (close > p + OpenLength) Emit(Group, S::BODY, p + OpenLength, close);
    Emit(Group, S::CLOSE, close, close + Close.size());
    return close + Close.size();
  }

  const char16_t* Markup(const char16_t* p) {
    switch (p[1]) {
      case u'/':
        return EndTag(p);
      case u'!':
        if (Match(p, u"<!--")) return Section(p, 4, G::COMMENT, u"-->");
        if (Match(p, u"<![CDATA[")) return Section(p, 9, G::CDATA, u"]]>");
        return nullptr;
      case u'?':
        return nullptr;
      default:
        return StartTag(p);
    }
  }

  const char16_t* EndTag(const char16_t* p) {
    bool colon = false;
    const char16_t* name = p + 2;
    const char16_t* q = SkipName(name, kEndTagNameStop, colon);
    if (q == name || *q != u'>') return nullptr;
    Emit(G::ELEMENT_CLOSE, S::OPEN_SLASH, p, name);
    Emit(G::ELEMENT_CLOSE, S::TAG, name, q, colon);
    Emit(G::ELEMENT_CLOSE, S::CLOSE, q, q + 1);
    return q + 1;
  }

  const char16_t* StartTag(const char16_t* p) {
    bool colon = false;
    const char16_t* name = p + 1;
    const char16_t* q = SkipName(name, kElementNameStop, colon);
    if (q == name) return nullptr;
    Emit(G::ELEMENT_OPEN, S::OPEN, p, name);
    Emit(G::ELEMENT_OPEN, S::TAG, name, q, colon);
    for (;;) {
      if (*q == u' ' || *q == u'\t') {
        const char16_t* blank = q;
        while (*q == u' ' || *q == u'\t') ++q;
        Emit(G::ELEMENT_OPEN, S::WHITESPACE, blank, q);
      }
      if (*q == u'>') {
        Emit(G::ELEMENT_OPEN, S::CLOSE, q, q + 1);
        return q + 1;
      }
      if (*q == u'/' && q[1] == u'>') {
        Emit(G::ELEMENT_OPEN, S::CLOSE_SLASH, q, q + 2);
        return q + 2;
      }
      // An attribute: a name, "=" right behind it and a value quoted on this line.
      const char16_t* attribute = q;
      bool ignored = false;
      q = SkipName(q, kElementNameStop, ignored);
      if (q == attribute || *q != u'=') return nullptr;
      const char16_t quote = q[1];
      if (quote != u'"' && quote != u'\'') return nullptr;
      const char16_t* close = FindUnit(q + 2, End_, quote);
      if (close == End_) return nullptr;
      const bool single = quote == u'\'';
      Emit(G::ELEMENT_OPEN, S::ATTRIBUTE_NAME, attribute, q);
      Emit(G::ELEMENT_OPEN, S::EQUALS, q, q + 1);
      Emit(G::ELEMENT_OPEN, single ? S::STRING1_V_OPEN : S::STRING2_V_OPEN, q + 1, q + 2);
      if (close > q + 2) Emit(G::ELEMENT_OPEN, single ? S::STRING1_V : S::STRING2_V, q + 2, close);
      Emit(G::ELEMENT_OPEN, single ? S::STRING1_V_CLOSE : S::STRING2_V_CLOSE, close, close + 1);
      q = close + 1;
    }
  }

  const char16_t* Text_;
  const char16_t* End_;
  std::vector<TyXMLScanToken>& Out_;
};

}  // namespace

const char16_t* CyRawXMLLineLexer::Lex(const char16_t* Line, const char16_t* End,
                                       const char16_t* From, const char16_t* Limit,
                                       std::vector<TyXMLScanToken>& Out) {
  Out.clear();
  return CyLexer(Line, End, Out).Constructs(From, Limit);
}

}  // namespace xylem
