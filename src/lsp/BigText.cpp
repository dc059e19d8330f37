#include "lsp/BigText.hpp"

#include <cctype>
#include <cstdint>
#include <cstring>

namespace xylem::lsp {

namespace {

constexpr int kMaxDepth = 64;

int Hex(char C) {
  if (C >= '0' && C <= '9') return C - '0';
  if (C >= 'a' && C <= 'f') return C - 'a' + 10;
  if (C >= 'A' && C <= 'F') return C - 'A' + 10;
  return -1;
}

bool Hex4(std::string_view S, size_t At, uint32_t& Value) {
  if (At + 4 > S.size()) return false;
  Value = 0;
  for (size_t i = At; i < At + 4; ++i) {
    const int H = Hex(S[i]);
    if (H < 0) return false;
    Value = Value * 16 + uint32_t(H);
  }
  return true;
}

size_t PutUTF8(uint32_t C, char* Out) {
  if (C < 0x80) {
    Out[0] = char(C);
    return 1;
  }
  if (C < 0x800) {
    Out[0] = char(0xC0 | (C >> 6));
    Out[1] = char(0x80 | (C & 0x3F));
    return 2;
  }
  if (C < 0x10000) {
    Out[0] = char(0xE0 | (C >> 12));
    Out[1] = char(0x80 | ((C >> 6) & 0x3F));
    Out[2] = char(0x80 | (C & 0x3F));
    return 3;
  }
  Out[0] = char(0xF0 | (C >> 18));
  Out[1] = char(0x80 | ((C >> 12) & 0x3F));
  Out[2] = char(0x80 | ((C >> 6) & 0x3F));
  Out[3] = char(0x80 | (C & 0x3F));
  return 4;
}

// The position of the first backslash or control character (and, with Quote, quote) in S from
// From on (S.size(): none). Eight bytes at a time: a document's text runs long between its
// escapes.
template <bool Quote>
size_t FindSpecial(std::string_view S, size_t From) {
  constexpr uint64_t kOnes = 0x0101010101010101u;
  constexpr uint64_t kHighs = 0x8080808080808080u;
  size_t At = From;
  for (; At + 8 <= S.size(); At += 8) {
    uint64_t Word;
    std::memcpy(&Word, S.data() + At, 8);
    // A byte below 0x20, or a zero byte of Word ^ (the character), sets its high bit (maybe
    // also a higher byte's, through the borrow: the bytes are then looked at one by one).
    const uint64_t Backslash = Word ^ (kOnes * '\\');
    uint64_t Hits = ((Word - kOnes * 0x20) & ~Word) | ((Backslash - kOnes) & ~Backslash);
    if constexpr (Quote) {
      const uint64_t Quotes = Word ^ (kOnes * '"');
      Hits |= (Quotes - kOnes) & ~Quotes;
    }
    if (Hits & kHighs) break;
  }
  for (; At < S.size(); ++At)
    if (S[At] == '\\' || static_cast<unsigned char>(S[At]) < 0x20 || (Quote && S[At] == '"'))
      return At;
  return S.size();
}

// Writes when Out is not null; otherwise only checks. Every escape is at least as long as what
// it becomes, so writing over the input never overtakes the reading.
template <bool Write>
std::optional<size_t> Unescape(std::string_view S, char* Out) {
  size_t W = 0;
  for (size_t R = 0; R < S.size();) {
    const size_t Stop = FindSpecial<false>(S, R);
    if (Stop < S.size() && S[Stop] != '\\') return std::nullopt;  // a raw control character
    if constexpr (Write) std::memmove(Out + W, S.data() + R, Stop - R);
    W += Stop - R;
    R = Stop;
    if (R == S.size()) break;
    if (R + 1 >= S.size()) return std::nullopt;
    const char E = S[R + 1];
    char Simple = 0;
    switch (E) {
      case '"':
        Simple = '"';
        break;
      case '\\':
        Simple = '\\';
        break;
      case '/':
        Simple = '/';
        break;
      case 'b':
        Simple = '\b';
        break;
      case 'f':
        Simple = '\f';
        break;
      case 'n':
        Simple = '\n';
        break;
      case 'r':
        Simple = '\r';
        break;
      case 't':
        Simple = '\t';
        break;
      case 'u':
        break;
      default:
        return std::nullopt;
    }
    if (Simple) {
      if constexpr (Write) Out[W] = Simple;
      ++W;
      R += 2;
      continue;
    }
    uint32_t C;
    if (!Hex4(S, R + 2, C)) return std::nullopt;
    R += 6;
    if (C >= 0xD800 && C < 0xDC00) {
      uint32_t Low;
      if (R + 1 < S.size() && S[R] == '\\' && S[R + 1] == 'u' && Hex4(S, R + 2, Low) &&
          Low >= 0xDC00 && Low < 0xE000) {
        C = 0x10000 + ((C - 0xD800) << 10) + (Low - 0xDC00);
        R += 6;
      } else {
        C = 0xFFFD;
      }
    } else if (C >= 0xDC00 && C < 0xE000) {
      C = 0xFFFD;
    }
    char Bytes[4];
    const size_t N = PutUTF8(C, Bytes);
    if constexpr (Write) std::memcpy(Out + W, Bytes, N);
    W += N;
  }
  return W;
}

// A walk over the message that only finds the member it looks for.
class CyFinder {
 public:
  explicit CyFinder(std::string_view S) : S_(S) {}

  // Walks the whole message; false when it is not plainly well-formed.
  bool Run() {
    if (!Value(0, 0)) return false;
    Space();
    return At_ == S_.size();
  }
  std::string_view Method;
  size_t TextBegin = 0, TextEnd = 0;  // between the quotes; TextEnd 0: not found

 private:
  void Space() {
    while (At_ < S_.size() &&
           (S_[At_] == ' ' || S_[At_] == '\t' || S_[At_] == '\n' || S_[At_] == '\r'))
      ++At_;
  }
  // At a quote: moves behind the string and gives its content's bounds.
  bool String(size_t& Begin, size_t& End) {
    if (At_ >= S_.size() || S_[At_] != '"') return false;
    Begin = ++At_;
    for (;;) {
      const void* Found = std::memchr(S_.data() + At_, '"', S_.size() - At_);
      if (!Found) return false;
      size_t Quote = size_t(static_cast<const char*>(Found) - S_.data());
      size_t Backslashes = 0;
      while (Quote - Backslashes > Begin && S_[Quote - Backslashes - 1] == '\\') ++Backslashes;
      At_ = Quote + 1;
      if (Backslashes % 2 == 0) {
        End = Quote;
        return true;
      }
    }
  }
  // At a quote: moves behind a string whose content is valid (no raw control character, only
  // known escapes with their digits) and gives its content's bounds; false for anything else.
  // One pass both finds the end of a big text and checks it before it is unescaped in place.
  bool CheckedString(size_t& Begin, size_t& End) {
    if (At_ >= S_.size() || S_[At_] != '"') return false;
    Begin = ++At_;
    for (;;) {
      const size_t Stop = FindSpecial<true>(S_, At_);
      if (Stop == S_.size() || static_cast<unsigned char>(S_[Stop]) < 0x20) return false;
      if (S_[Stop] == '"') {
        End = Stop;
        At_ = Stop + 1;
        return true;
      }
      if (Stop + 1 >= S_.size()) return false;
      switch (S_[Stop + 1]) {
        case '"':
        case '\\':
        case '/':
        case 'b':
        case 'f':
        case 'n':
        case 'r':
        case 't':
          At_ = Stop + 2;
          break;
        case 'u': {
          uint32_t Unit;
          if (!Hex4(S_, Stop + 2, Unit)) return false;
          At_ = Stop + 6;
          break;
        }
        default:
          return false;
      }
    }
  }
  // Path: which of params(1) > textDocument(2) > text(3) the value sits at (0: elsewhere).
  bool Value(int Depth, int Path) {
    if (Depth > kMaxDepth) return false;
    Space();
    if (At_ >= S_.size()) return false;
    const char C = S_[At_];
    if (C == '"') {
      size_t Begin, End;
      if (Path == 3 && TextEnd == 0) {
        if (!CheckedString(Begin, End)) return false;
        TextBegin = Begin;
        TextEnd = End;
        return true;
      }
      return String(Begin, End);
    }
    if (C == '{')
      return Sequence('}', [&] {
        size_t Begin, End;
        if (!String(Begin, End)) return false;
        const std::string_view Key = S_.substr(Begin, End - Begin);
        Space();
        if (At_ >= S_.size() || S_[At_] != ':') return false;
        ++At_;
        int Next = 0;
        if (Depth == 0 && Key == "params") Next = 1;
        if (Path == 1 && Key == "textDocument") Next = 2;
        if (Path == 2 && Key == "text") Next = 3;
        if (Depth == 0 && Key == "method") {
          Space();
          size_t MB = 0, ME = 0;
          if (!String(MB, ME)) return false;
          Method = S_.substr(MB, ME - MB);
          return true;
        }
        return Value(Depth + 1, Next);
      });
    if (C == '[') return Sequence(']', [&] { return Value(Depth + 1, 0); });
    // Numbers and literals: their characters; the ordinary parse judges them.
    const size_t Start = At_;
    while (At_ < S_.size() && (std::isalnum(static_cast<unsigned char>(S_[At_])) ||
                               S_[At_] == '-' || S_[At_] == '+' || S_[At_] == '.'))
      ++At_;
    return At_ > Start;
  }

  // The members or elements of an object or array from its opening character on: Item reads
  // one (after the white space before it), separated by ',' up to Close.
  template <typename TyItem>
  bool Sequence(char Close, TyItem&& Item) {
    ++At_;
    Space();
    if (At_ < S_.size() && S_[At_] == Close) {
      ++At_;
      return true;
    }
    for (;;) {
      Space();
      if (!Item()) return false;
      Space();
      if (At_ >= S_.size()) return false;
      if (S_[At_] == ',') {
        ++At_;
        continue;
      }
      if (S_[At_] != Close) return false;
      ++At_;
      return true;
    }
  }

  std::string_view S_;
  size_t At_ = 0;
};

}  // namespace

std::optional<size_t> UnescapeJSONString(std::string_view Escaped, char* Out) {
  if (!Unescape<false>(Escaped, nullptr)) return std::nullopt;
  return Unescape<true>(Escaped, Out);
}

std::optional<std::string> ExtractBigText(std::string& Body, TyBigText& Text, size_t MinLength) {
  // A cheap look before the walk: small messages and others go the ordinary way.
  if (Body.size() < MinLength || Body.find("textDocument/didOpen") == std::string::npos)
    return std::nullopt;
  CyFinder Finder(Body);
  if (!Finder.Run() || Finder.Method != "textDocument/didOpen" || Finder.TextEnd == 0 ||
      Finder.TextEnd - Finder.TextBegin < MinLength)
    return std::nullopt;
  // The finder has checked the text's escapes: unescaping it cannot fail half-way.
  const std::string_view Escaped(Body.data() + Finder.TextBegin, Finder.TextEnd - Finder.TextBegin);
  std::string Rest;
  Rest.reserve(Body.size() - Escaped.size());
  Rest.append(Body, 0, Finder.TextBegin);
  Rest.append(Body, Finder.TextEnd, std::string::npos);
  const size_t Length = *Unescape<true>(Escaped, Body.data() + Finder.TextBegin);
  Text.Bytes = std::move(Body);
  Text.Offset = Finder.TextBegin;
  Text.Length = Length;
  Body.clear();
  return Rest;
}

}  // namespace xylem::lsp
