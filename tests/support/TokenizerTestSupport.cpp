#include "support/TokenizerTestSupport.hpp"

#include "common/Utf.hpp"

namespace xylem::test {

namespace {

void Append(std::vector<TyCollectedToken>& out, const TyXMLToken& t, int64_t base) {
  if (t.Count() == 0 && !t.TextIsMissing) return;
  TyCollectedToken c{base + t.Offset0, base + t.Offset1, t.GroupExtra0(), t.Symbol0(),
                     std::u16string(t.Text())};
  if (!out.empty()) {
    TyCollectedToken& last = out.back();
    const bool sameKind = (last.GroupExtra & 31) == (c.GroupExtra & 31) && last.Symbol == c.Symbol;
    if (sameKind && !t.TextIsMissing && last.Offset1 == c.Offset0 && last.Count() != 0 &&
        base == c.Offset0 && base != 0) {
      last.Offset1 = c.Offset1;
      last.GroupExtra |= c.GroupExtra;
      last.Text += c.Text;
      return;
    }
  }
  out.push_back(std::move(c));
}

}  // namespace

TyScanResult ScanWhole(const std::u16string& Text) {
  TyScanResult r;
  TxXMLParser parser;
  parser.First(Text.c_str(), true, kXMLDocumentGroupWord, kXMLDocumentSymbolWord);
  for (;;) {
    Append(r.Tokens, parser.getToken(), 0);
    if (parser.getToken().IsDone) break;
    parser.Next();
  }
  r.G = parser.getStackG();
  r.S = parser.getStackS();
  r.DeltaSum = parser.getToken().DeltaNeg();
  return r;
}

std::vector<std::u16string> SplitKeepingLineEnds(const std::u16string& Text) {
  std::vector<std::u16string> lines;
  size_t start = 0;
  for (size_t i = 0; i < Text.size(); ++i) {
    if (Text[i] == u'\r' && i + 1 < Text.size() && Text[i + 1] == u'\n') ++i;
    if (Text[i] == u'\r' || Text[i] == u'\n') {
      lines.push_back(Text.substr(start, i + 1 - start));
      start = i + 1;
    }
  }
  lines.push_back(Text.substr(start));
  return lines;
}

TyScanResult ScanByLines(const std::u16string& Text) {
  TyScanResult r;
  uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
  const std::vector<std::u16string> lines = SplitKeepingLineEnds(Text);
  int64_t base = 0;
  TxXMLParser parser;
  for (size_t i = 0; i < lines.size(); ++i) {
    parser.First(lines[i].c_str(), i + 1 == lines.size(), g, s);
    for (;;) {
      Append(r.Tokens, parser.getToken(), base);
      if (parser.getToken().IsDone) break;
      parser.Next();
    }
    g = parser.getStackG();
    s = parser.getStackS();
    r.DeltaSum += parser.getToken().DeltaNeg();
    base += static_cast<int64_t>(lines[i].size());
  }
  r.G = g;
  r.S = s;
  return r;
}

std::vector<std::string> Describe(const std::u16string& Text, bool AtEnd) {
  std::vector<std::string> out;
  TxXMLParser parser;
  parser.First(Text.c_str(), AtEnd, kXMLDocumentGroupWord, kXMLDocumentSymbolWord);
  for (;;) {
    const TyXMLToken& t = parser.getToken();
    if (t.Count() != 0 || t.TextIsMissing) {
      std::string line =
          std::string(t.GroupStr0()) + (t.Extra0() ? "+ " : " ") + std::string(t.SymbolStr0());
      if (!t.TextIsMissing) line += " `" + ToUTF8(t.Text()) + "`";
      out.push_back(line);
    }
    if (t.IsDone) break;
    parser.Next();
  }
  return out;
}

}  // namespace xylem::test
