#include "search/ReplaceWithParts.hpp"

#include "common/Utf.hpp"

namespace xylem {

namespace {

bool IsDigit(char16_t Unit) { return Unit >= u'0' && Unit <= u'9'; }

bool IsNameCharacter(char16_t Unit) {
  return IsDigit(Unit) || (Unit >= u'A' && Unit <= u'Z') || (Unit >= u'a' && Unit <= u'z') ||
         Unit == u'_';
}

// The template's text from Start up to End, plus the code point at End if there is one: what a
// syntax error shows of the faulty reference.
std::string WrittenUpTo(std::u16string_view Template, size_t Start, size_t End) {
  size_t stop = End;
  if (stop < Template.size()) {
    ++stop;
    if ((Template[End] & 0xFC00) == 0xD800 && stop < Template.size() &&
        (Template[stop] & 0xFC00) == 0xDC00)
      ++stop;
  }
  return ToUTF8(Template.substr(Start, stop - Start));
}

[[noreturn]] void Fail(const std::string& Message, size_t Position) {
  throw ReplaceWithException(Message, static_cast<int64_t>(Position));
}

}  // namespace

void CyLiteral::Translate(const TyRegExprMatch&, CyFIFOUTF16& Out) const { Out.Write(Text_); }

void CyBackreference::Translate(const TyRegExprMatch& Match, CyFIFOUTF16& Out) const {
  Out.Write(Match.getGroup(Number_));
}

void CyNamedBackreference::Translate(const TyRegExprMatch& Match, CyFIFOUTF16& Out) const {
  for (int32_t number : Numbers_) {
    if (Match.isGroupSet(number)) {
      Out.Write(Match.getGroup(number));
      return;
    }
  }
}

CyRegExprReplaceWithParts::CyRegExprReplaceWithParts(std::u16string_view Template,
                                                     const CyRegExprSearcher& Searcher,
                                                     std::u16string_view Newline) {
  Parse(Template, Searcher, Newline);
}

void CyRegExprReplaceWithParts::Parse(std::u16string_view Template,
                                      const CyRegExprSearcher& Searcher,
                                      std::u16string_view Newline) {
  const size_t size = Template.size();
  auto literal = [&](std::u16string text) {
    Parts_.push_back(std::make_unique<CyLiteral>(std::move(text)));
  };
  // A numbered reference whose first digit is at Digit; Sigil is "$" or "\" for the message.
  // Returns the index behind it.
  auto numbered = [&](size_t Start, size_t Digit, const char* Sigil) -> size_t {
    int32_t number = Template[Digit] - u'0';
    size_t end = Digit + 1;
    // A second digit always belongs to the reference ($12 is group 12, never group 1 and "2");
    // "$0" is complete by itself.
    if (number != 0 && end < size && IsDigit(Template[end]))
      number = number * 10 + (Template[end++] - u'0');
    if (number > Searcher.getGroupCount())
      Fail("Subpattern does not exist: " + std::string(Sigil) + std::to_string(number) + ".",
           Start);
    Parts_.push_back(std::make_unique<CyBackreference>(number));
    return end;
  };
  // A named reference whose name starts at NameStart and must be closed by Close.
  auto named = [&](size_t Start, size_t NameStart, char16_t Close, const char* Open,
                   const char* Closing) -> size_t {
    size_t end = NameStart;
    while (end < size && IsNameCharacter(Template[end])) ++end;
    if (end == NameStart || end >= size || Template[end] != Close)
      Fail("Syntax error: " + WrittenUpTo(Template, Start, end) + ".", Start);
    std::u16string name(Template.substr(NameStart, end - NameStart));
    std::vector<int32_t> numbers = Searcher.getGroupNumbers(name);
    if (numbers.empty())
      Fail("Subpattern does not exist: " + std::string(Open) + ToUTF8(name) + Closing + ".", Start);
    Parts_.push_back(std::make_unique<CyNamedBackreference>(std::move(name), std::move(numbers)));
    return end + 1;
  };

  for (size_t i = 0; i < size;) {
    const char16_t unit = Template[i];
    if (unit == u'$') {
      const char16_t next = i + 1 < size ? Template[i + 1] : u'\0';
      if (next == u'$') {
        literal(u"$");
        i += 2;
      } else if (i + 1 < size && IsDigit(next)) {
        i = numbered(i, i + 1, "$");
      } else if (next == u'{') {
        i = named(i, i + 2, u'}', "${", "}");
      } else {
        literal(u"$");  // the next character is read normally
        i += 1;
      }
    } else if (unit == u'\\') {
      const char16_t next = i + 1 < size ? Template[i + 1] : u'\0';
      if (i + 1 < size && IsDigit(next)) {
        i = numbered(i, i + 1, "\\");
      } else if (next == u'g') {
        if (i + 2 >= size || Template[i + 2] != u'<')
          Fail("Syntax error: " + WrittenUpTo(Template, i, i + 2) + ".", i);
        i = named(i, i + 3, u'>', "\\g<", ">");
      } else {
        std::u16string text;
        i = ReadSimpleEscape(Template, i, Newline, text);
        literal(std::move(text));
      }
    } else {
      size_t end = i;
      while (end < size && Template[end] != u'$' && Template[end] != u'\\') ++end;
      literal(std::u16string(Template.substr(i, end - i)));
      i = end;
    }
  }
}

std::u16string CyRegExprReplaceWithParts::Translate(const TyRegExprMatch& Match) const {
  CyFIFOUTF16 out;
  Translate(Match, out);
  return out.ReadAll();
}

void CyRegExprReplaceWithParts::Translate(const TyRegExprMatch& Match, CyFIFOUTF16& Out) const {
  for (const auto& part : Parts_) part->Translate(Match, Out);
}

}  // namespace xylem
