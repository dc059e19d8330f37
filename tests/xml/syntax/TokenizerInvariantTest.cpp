// The central invariant of the tokenizer: scanning line by line while carrying the two state
// words gives the same tokens and the same final state as scanning the whole text at once.

#include <gtest/gtest.h>

#include <set>

#include "common/Utf.hpp"
#include "support/TokenizerTestSupport.hpp"

namespace xylem {

namespace {

const char* const kDocuments[] = {
    // Well-formed, every construct, several spanning lines.
    "<?xml version=\"1.0\" encoding='UTF-8'?>\n"
    "<?xml-stylesheet type=\"text/xsl\"\n    href=\"a.xsl\"?>\n"
    "<?xml-model href=\"s.rng\"?>\n"
    "<!DOCTYPE root PUBLIC \"-//X//DTD\" 'x.dtd' [\n"
    "  <!ELEMENT root (head, (a | b)*, tail?)>\n"
    "  <!ATTLIST root\n      id ID #REQUIRED\n      kind (x|y) \"x\">\n"
    "  <!ENTITY e \"multi\n line\">\n"
    "  <!NOTATION n SYSTEM 'n'>\n"
    "  <!-- a comment\n  inside the subset ] -->\n"
    "  <![INCLUDE[\n  &x; <!ELEMENT z ANY>\n]]>\n"
    "  %pe; <?pi in subset?>\n"
    "]>\n"
    "<root xmlns=\"urn:r\" xmlns:p=\"urn:p\" id=\"r1\">\n"
    "  <p:head p:lang='en' title=\"a\n  value on two lines\"/>\n"
    "  <!-- comment\n       over\n       three lines -->\n"
    "  <a>text &amp; more &ent; &#169; &#x2192;</a>\n"
    "  <![CDATA[ <not a tag>\n ]]> ]]>\n"
    "  <?target data\n   on two lines ?>\n"
    "  <b\n     attr = 'spaced'\n  >tail</b >\n"
    "</root>\n",
    // Broken markup of every kind.
    "<a <b c=d e='open\n"
    "still open' f=\"x\">&foo bar &; &am\n"
    "</a</b><!-- never closed\n"
    "<![CDATA[ also\n",
    "<!DOCTYPE x [\n<!ELEMENT x (a (b,\n c>\n<!ATTLIST x y CDATA 'unterminated\n",
    "<?xml version=?><?xml-model x><?pi\n<!doctype html>\n<html><body x=\n'1'>\n",
    "</ end><a/ ><b / ><c =\"x\" 'y'>&#;&#x;<d:e:f g:h=''/>",
    "<!DOCTYPE",
    "<!DOCTYPE r [",
    "<!DOCTYPE r [<!ENTITY e '",
    "<!DOCTYPE r [<!ENTITY e \"x\n",
    "<![CDATA[",
    "<!--",
    "<?",
    "<a b=",
    "<a b=\n",
    "<a b=\n\n'x'>",
    "&",
    "&amp",
    "]]>",
    "<!-",
    "<![",
    "<!DOCTYPE r [<![x",
    // Deep content models: more groups than cells in the state words.
    "<!DOCTYPE r [<!ELEMENT r ((((((((((a))))))))))>\n<!ELEMENT s (((((\n(((b)))\n)))))>]><r/>",
    // Prefixed names and white space only text between tags.
    "<x:a>\n  <x:b y:c=\"1\">\n  </x:b>\n\n</x:a>\n",
};

std::u16string WithNewline(const std::u16string& text, std::u16string_view newline) {
  std::u16string out;
  for (char16_t c : text) {
    if (c == u'\n')
      out += newline;
    else
      out += c;
  }
  return out;
}

void ExpectSameScan(const std::u16string& text) {
  const test::TyScanResult whole = test::ScanWhole(text);
  const test::TyScanResult lines = test::ScanByLines(text);
  const std::string where = ToUTF8(text);
  ASSERT_EQ(whole.Tokens.size(), lines.Tokens.size()) << where;
  for (size_t i = 0; i < whole.Tokens.size(); ++i) {
    const test::TyCollectedToken& a = whole.Tokens[i];
    const test::TyCollectedToken& b = lines.Tokens[i];
    ASSERT_EQ(a.Offset0, b.Offset0) << where << " token " << i;
    ASSERT_EQ(a.Offset1, b.Offset1) << where << " token " << i;
    ASSERT_EQ(a.GroupExtra, b.GroupExtra) << where << " token " << i;
    ASSERT_EQ(a.Symbol, b.Symbol) << where << " token " << i;
  }
  EXPECT_EQ(whole.G, lines.G) << where;
  EXPECT_EQ(whole.S, lines.S) << where;
  // Constructs are counted off at the end of each line instead of at the next begin, so only
  // the sums agree.
  EXPECT_EQ(whole.DeltaSum, lines.DeltaSum) << where;

  // The tokens tile the text; missing tokens have no width.
  int64_t at = 0;
  for (const test::TyCollectedToken& t : whole.Tokens) {
    ASSERT_EQ(t.Offset0, at) << where;
    if (t.Symbol & kXMLMissing) {
      EXPECT_EQ(t.Count(), 0) << where;
    }
    at = t.Offset1;
  }
  EXPECT_EQ(at, static_cast<int64_t>(text.size())) << where;

  // ScanUntilEOL agrees with First/Next on the state and the line delta, and the editor's
  // lines (without their line ends) reach the same final state.
  uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
  uint64_t bareG = g, bareS = s;
  const std::vector<std::u16string> pieces = test::SplitKeepingLineEnds(text);
  TxXMLParser eol, next;
  for (size_t i = 0; i < pieces.size(); ++i) {
    const bool atEnd = i + 1 == pieces.size();
    // Every step counts for the lowest and highest delta, so walk with Scan; the steps that
    // First skips are at level 0 (nothing is pending at a line start).
    next.First(pieces[i].c_str(), atEnd, g, s);
    int32_t lo = std::min(0, next.getToken().DeltaNeg());
    int32_t hi = std::max(0, next.getToken().DeltaPos);
    while (!next.getToken().IsDone) {
      next.Scan();
      lo = std::min(lo, next.getToken().DeltaNeg());
      hi = std::max(hi, next.getToken().DeltaPos);
    }
    int32_t last, minDelta, maxDelta;
    eol.ScanUntilEOL(pieces[i].c_str(), atEnd, last, minDelta, maxDelta, g, s);
    EXPECT_EQ(g, next.getStackG()) << where << " line " << i;
    EXPECT_EQ(s, next.getStackS()) << where << " line " << i;
    EXPECT_EQ(last, next.getToken().DeltaNeg()) << where << " line " << i;
    EXPECT_EQ(minDelta, lo) << where << " line " << i;
    EXPECT_EQ(maxDelta, hi) << where << " line " << i;

    std::u16string bare = pieces[i];
    while (!bare.empty() && (bare.back() == u'\n' || bare.back() == u'\r')) bare.pop_back();
    eol.ScanUntilEOL(bare.c_str(), atEnd, last, minDelta, maxDelta, bareG, bareS);
  }
  EXPECT_EQ(bareG, whole.G) << where;
  EXPECT_EQ(bareS, whole.S) << where;
}

struct TyLabel {
  unsigned Group = 0;
  unsigned Symbol = 0;
  bool Starts = false;
  bool operator==(const TyLabel&) const = default;
};

struct TyMissing {
  int64_t Offset;
  unsigned Group, Symbol;
  bool operator==(const TyMissing&) const = default;
};

// Labels every character of a token with its group and symbol, and lists the missing tokens
// (those of TEXT aside: a run of line ends only is text in a whole scan and nothing in lines
// without their line ends).
void Label(const TyXMLToken& t, int64_t base, std::vector<TyLabel>& labels,
           std::vector<TyMissing>& missing) {
  if (t.TextIsMissing) {
    if (t.Group0() != XMLValue(TyXMLGroup::TEXT))
      missing.push_back({base + t.Offset0, t.Group0(), t.Symbol0()});
    return;
  }
  for (int64_t i = t.Offset0; i < t.Offset1; ++i)
    labels[base + i] = {t.Group0(), t.Symbol0(), i == t.Offset0};
}

// The editor's lines have no line ends: scanning them carrying the words must read every
// other character exactly as the whole scan does, and find the same missing tokens.
void ExpectBareLinesAgree(const std::u16string& text) {
  std::vector<TyLabel> whole(text.size()), bare(text.size());
  std::vector<TyMissing> wholeMissing, bareMissing;
  TxXMLParser p;
  p.First(text.c_str(), true, kXMLDocumentGroupWord, kXMLDocumentSymbolWord);
  for (;; p.Next()) {
    Label(p.getToken(), 0, whole, wholeMissing);
    if (p.getToken().IsDone) break;
  }
  const std::vector<std::u16string> pieces = test::SplitKeepingLineEnds(text);
  uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
  std::vector<bool> lineStart(text.size() + 1, false), lineEnd(text.size(), false);
  int64_t base = 0;
  for (size_t i = 0; i < pieces.size(); ++i) {
    std::u16string line = pieces[i];
    while (!line.empty() && (line.back() == u'\n' || line.back() == u'\r')) line.pop_back();
    for (size_t k = line.size(); k < pieces[i].size(); ++k) lineEnd[base + k] = true;
    lineStart[base] = true;
    p.First(line.c_str(), i + 1 == pieces.size(), g, s);
    for (;; p.Next()) {
      Label(p.getToken(), base, bare, bareMissing);
      if (p.getToken().IsDone) break;
    }
    g = p.getStackG();
    s = p.getStackS();
    base += static_cast<int64_t>(pieces[i].size());
  }
  const std::string where = ToUTF8(text);
  for (size_t i = 0; i < text.size(); ++i) {
    if (lineEnd[i]) continue;
    TyLabel a = whole[i], b = bare[i];
    if (lineStart[i]) a.Starts = b.Starts = false;  // a line start always starts a token
    ASSERT_EQ(a, b) << where << " at " << i << ": " << XMLGroupName(a.Group) << " "
                    << XMLSymbolName(a.Symbol) << " vs " << XMLGroupName(b.Group) << " "
                    << XMLSymbolName(b.Symbol);
  }
  ASSERT_EQ(wholeMissing, bareMissing) << where;
}

}  // namespace

TEST(TokenizerInvariant, LineByLineEqualsWholeTextForLFAndCRLFAndCR) {
  for (const char* doc : kDocuments) {
    const std::u16string lf = ToUTF16(doc);
    ExpectSameScan(lf);
    ExpectBareLinesAgree(lf);
    ExpectSameScan(WithNewline(lf, u"\r\n"));
    ExpectSameScan(WithNewline(lf, u"\r"));
  }
}

// Every cut of the documents is broken markup of its own; cutting at every position reaches
// every state at a line end.
TEST(TokenizerInvariant, HoldsForEveryPrefixAndEveryExtraLineBreak) {
  for (const char* doc : kDocuments) {
    const std::u16string text = ToUTF16(doc);
    for (size_t n = 0; n <= text.size(); n += 3) {
      ExpectSameScan(text.substr(0, n));
      ExpectBareLinesAgree(text.substr(0, n));
    }
    // A line break inserted anywhere must not change how the rest is read, as long as the
    // break itself is scanned the same way whole or by lines.
    for (size_t n = 1; n < text.size(); n += 7) {
      ExpectSameScan(text.substr(0, n) + u"\n" + text.substr(n));
    }
  }
}

// Every group the scanner produces and every missing symbol is reached by these documents
// (DOCUMENT names a whole document for consumers; the scanner never enters it).
TEST(TokenizerInvariant, DocumentsReachEveryGroupAndEveryMissingSymbol) {
  std::set<unsigned> groups, missing;
  for (const char* doc : kDocuments) {
    const std::u16string text = ToUTF16(doc);
    TxXMLParser p;
    p.First(text.c_str(), true, kXMLDocumentGroupWord, kXMLDocumentSymbolWord);
    while (true) {
      // Scan-level, so zero-width steps (STRUCTURE, NEUTRAL) count too.
      const TyXMLToken& t = p.getToken();
      groups.insert(t.Group0());
      if (t.TextIsMissing) missing.insert(t.Symbol0());
      if (t.IsDone) break;
      p.Scan();
    }
  }
  for (unsigned g = 1; g < kXMLGroupCount; ++g) {
    if (g != XMLValue(TyXMLGroup::DOCUMENT)) {
      EXPECT_TRUE(groups.count(g)) << XMLGroupName(g);
    }
  }
  for (unsigned s : {35, 43, 46, 49, 52, 54, 55, 56, 57, 58, 59})
    EXPECT_TRUE(missing.count(s)) << XMLSymbolName(s);
}

}  // namespace xylem
