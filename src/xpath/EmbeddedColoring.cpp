#include "xpath/EmbeddedColoring.hpp"

#include <algorithm>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "xpath/Checker.hpp"
#include "xpath/Parser.hpp"

namespace xylem {

namespace {

using C = TyXPathColoringCategory;

// A token the parser never reached has no class: colour it by what it looks like.
C CategoryOfKind(TyXPath31Token Kind) {
  switch (Kind) {
    case X_StringLiteral:
      return C::xpcString;
    case X_IntegerLiteral:
    case X_NumericLiteral:
      return C::xpcNumber;
    case X_AVT:
      return C::xpcAVTText;
    case X_ERROR:
      return C::xpcError;
    case X_Dollar:
      return C::xpcVariable;
    case X_LParenthesis:
    case X_RParenthesis:
    case X_LSquareBracket:
    case X_RSquareBracket:
    case X_LCurlyBracket:
    case X_RCurlyBracket:
      return C::xpcBracket;
    case X_Slash:
    case X_SlashSlash:
      return C::xpcSlash;
    default:
      break;
  }
  if (Kind <= X_NCNameColonAsterisk) return C::xpcNameTest;
  if (Kind <= X_Union) return C::xpcKeyword;
  return C::xpcSymbol;
}

// Appends the characters of a predefined entity or a character reference (Reference runs from
// '&' through ';'); false for any other reference, which only a DTD could resolve and the
// colouring does not read.
bool ReadReference(std::u16string_view Reference, std::u16string& Out) {
  static constexpr std::pair<std::u16string_view, char16_t> kPredefined[] = {
      {u"&lt;", u'<'}, {u"&gt;", u'>'}, {u"&amp;", u'&'}, {u"&quot;", u'"'}, {u"&apos;", u'\''}};
  for (const auto& [Name, Char] : kPredefined)
    if (Reference == Name) {
      Out += Char;
      return true;
    }
  if (Reference.size() < 4 || Reference[1] != u'#') return false;
  const bool Hex = Reference[2] == u'x';
  const std::u16string_view Digits =
      Reference.substr(Hex ? 3 : 2, Reference.size() - (Hex ? 4 : 3));
  uint32_t Code = 0;
  for (char16_t C : Digits) {
    const int Digit = C >= u'0' && C <= u'9'          ? C - u'0'
                      : Hex && C >= u'a' && C <= u'f' ? C - u'a' + 10
                      : Hex && C >= u'A' && C <= u'F' ? C - u'A' + 10
                                                      : -1;
    if (Digit < 0 || Code > 0x10FFFF) return false;
    Code = Code * (Hex ? 16 : 10) + uint32_t(Digit);
  }
  if (Digits.empty() || Code == 0 || Code > 0x10FFFF || (Code >= 0xD800 && Code <= 0xDFFF))
    return false;
  if (Code < 0x10000) {
    Out += char16_t(Code);
  } else {
    Code -= 0x10000;
    Out += char16_t(0xD800 + (Code >> 10));
    Out += char16_t(0xDC00 + (Code & 0x3FF));
  }
  return true;
}

// Expanded: Written with its readable references replaced; Map[i]: the index in Written of
// the character that produced Expanded[i] (a reference's '&' for its characters), and
// Map[Expanded.size()] = Written.size(). Unreadable references are copied as written.
void ExpandWrittenReferences(std::u16string_view Written, std::u16string& Expanded,
                             std::vector<int32_t>& Map) {
  for (size_t I = 0; I < Written.size();) {
    if (Written[I] == u'&') {
      const size_t End = Written.find(u';', I);
      if (End != std::u16string_view::npos &&
          ReadReference(Written.substr(I, End + 1 - I), Expanded)) {
        Map.resize(Expanded.size(), int32_t(I));
        I = End + 1;
        continue;
      }
    }
    Expanded += Written[I];
    Map.push_back(int32_t(I++));
  }
  Map.push_back(int32_t(Written.size()));
}

}  // namespace

CyXPathEmbeddedLineColoring::CyXPathEmbeddedLineColoring(std::span<const std::u16string_view> Lines,
                                                         TyXPath31ParserRule Rule,
                                                         int64_t FirstLine, int64_t FirstLinepos,
                                                         const CyXPathColoring& Scheme,
                                                         bool ExpandReferences)
    : Scheme_(Scheme), FirstLine_(FirstLine), FirstLinepos_(FirstLinepos) {
  for (std::u16string_view Line : Lines) {
    LineStarts_.push_back(int32_t(Text_.size()));
    Text_ += Line;
    Text_ += u'\n';
  }
  if (!Text_.empty()) Text_.pop_back();  // no separator after the last line
  LineStarts_.push_back(int32_t(Text_.size()) + 1);
  Build(Rule, ExpandReferences);
}

CyXPathEmbeddedLineColoring::CyXPathEmbeddedLineColoring(const std::vector<std::u16string>& Lines,
                                                         TyXPath31ParserRule Rule,
                                                         int64_t FirstLine, int64_t FirstLinepos,
                                                         const CyXPathColoring& Scheme,
                                                         bool ExpandReferences)
    : CyXPathEmbeddedLineColoring(std::vector<std::u16string_view>(Lines.begin(), Lines.end()),
                                  Rule, FirstLine, FirstLinepos, Scheme, ExpandReferences) {}

void CyXPathEmbeddedLineColoring::Build(TyXPath31ParserRule Rule, bool ExpandReferences) {
  Spans_.push_back({0, C::xpcText});
  // The parser reads the expanded text; Map takes its positions back to the written text.
  std::u16string Expanded;
  std::vector<int32_t> Map;
  const bool Expanding = ExpandReferences && Text_.find(u'&') != std::u16string::npos;
  if (Expanding) ExpandWrittenReferences(Text_, Expanded, Map);
  const std::u16string& Parsed = Expanding ? Expanded : Text_;
  auto Written = [&](ptrdiff_t At) { return Expanding ? Map[size_t(At)] : int32_t(At); };
  // Blank text is valid, as for the checker: nothing to parse or mark.
  if (IsXPath31Blank(Parsed)) return;
  CyXPath31Parser Parser(Parsed.c_str(), Rule);
  PyXPath31Step Failing = nullptr;
  try {
    Parser.Parse();
  } catch (const CyShouldNeverHappenException&) {
    throw;
  } catch (const CyException& E) {
    Message_ = ToUTF16(E.getMessage());
    if (Message_.empty()) Message_ = u"Syntax error.";
    Failing = Parser.XPath31ErrorStep();
  }
  const TyXPath31Steps& Steps = Parser.XPath31Steps();
  const char16_t* Base = Parsed.c_str();
  bool AfterError = false;
  for (size_t I = CyXPath31Tokenizer::kLeadingSteps; I < Steps.size(); ++I) {
    const TyXPath31Step& Step = Steps[I];
    if (Step.PTail == Step.PHead) continue;  // X_BOF, X_EOF, empty pieces
    C Category;
    if (&Step == Failing) {
      Category = C::xpcError;
      AfterError = true;
    } else if (AfterError || Step.XPath31TokenType == xtError) {
      Category = CategoryOfKind(Step.XPath31Token);
    } else {
      Category = XPathColoringCategoryOf(Step.XPath31TokenType);
    }
    int32_t Start = Written(Step.PHead - Base), End = Written(Step.PTail - Base);
    if (Spans_.back().Start == Start)
      Spans_.back().Category = Category;
    else
      Spans_.push_back({Start, Category});
    Spans_.push_back({End, C::xpcText});  // the gap behind it, possibly empty
  }
}

void CyXPathEmbeddedLineColoring::First(int64_t Line) {
  LineIndex_ = Line - FirstLine_;
  Done_ = LineIndex_ < 0 || LineIndex_ >= getLineCount();
  if (Done_) return;
  int32_t LineStart = LineStarts_[size_t(LineIndex_)];
  LineEnd_ = LineStarts_[size_t(LineIndex_) + 1] - 1;
  auto It = std::upper_bound(Spans_.begin(), Spans_.end(), LineStart,
                             [](int32_t At, const TySpan& S) { return At < S.Start; });
  Span_ = size_t(It - Spans_.begin()) - 1;  // Spans_[0] starts at 0
  ItemStart_ = LineStart;
  SetItem();
}

void CyXPathEmbeddedLineColoring::Next() {
  if (Done_) return;
  ++Span_;
  SetItem();
}

void CyXPathEmbeddedLineColoring::SetItem() {
  // Skip spans that are empty or lie before the item start (a gap of length 0).
  for (;; ++Span_) {
    if (Span_ >= Spans_.size()) break;
    int32_t Start = std::max(Spans_[Span_].Start, ItemStart_);
    int32_t End = Span_ + 1 < Spans_.size() ? Spans_[Span_ + 1].Start : int32_t(Text_.size());
    if (Start >= LineEnd_) break;
    if (End > Start) {
      ItemStart_ = Start;
      ItemEnd_ = std::min(End, LineEnd_);
      return;
    }
  }
  Done_ = true;
}

int64_t CyXPathEmbeddedLineColoring::ItemLinepos() const {
  int64_t InLine = ItemStart_ - LineStarts_[size_t(LineIndex_)];
  return (LineIndex_ == 0 ? FirstLinepos_ : 1) + InLine;
}

std::u16string_view CyXPathEmbeddedLineColoring::ItemText() const {
  return std::u16string_view(Text_).substr(size_t(ItemStart_), size_t(ItemEnd_ - ItemStart_));
}

}  // namespace xylem
