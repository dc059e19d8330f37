// Semantic tokens: deltas after random edits, applied to the previous result, must equal a
// fresh full result of the same text loaded anew (so both the line-state repair and the
// delta's choice of lines are checked), and every token must lie inside its line.
#include "lsp/SemanticTokens.hpp"

#include <gtest/gtest.h>

#include <numeric>
#include <random>

#include "LspTestSupport.hpp"
#include "common/Utf.hpp"
#include "editor/Document.hpp"
#include "lsp/FullTokens.hpp"

namespace xylem::lsp {
namespace {

struct TyCase {
  const char* Path;
  TyDocumentKind Kind;
  const char16_t* Text;
  std::vector<std::u16string> Snippets;  // what random edits insert
};

const TyCase kCases[] = {
    {"a.xml",
     TyDocumentKind::dkXML,
     u"<?xml version=\"1.0\"?>\n<!DOCTYPE r [\n<!ENTITY e \"x\">\n]>\n<r a=\"1\">\n  <!-- note\n"
     u"  more -->\n  <p:b xmlns:p=\"u\">t&amp;t</p:b>\n  <![CDATA[ <raw> ]]>\n  <?pi data?>\n"
     u"</r>\n",
     {u"<", u">", u"<!--", u"-->", u"\n", u"x", u"\"", u"<![CDATA[", u"]]>", u"</r>", u"<a b='c'>",
      u"&lt;", u"?>", u" "}},
    {"s.xsl",
     TyDocumentKind::dkXSLT,
     u"<xsl:stylesheet version=\"3.0\" xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\">\n"
     u"  <xsl:template match=\"/a/b[@c = 1]\">\n    <xsl:value-of select=\"count(//x) + "
     u"$v\"/>\n    <xsl:if test=\"a and\n      b\">y</xsl:if>\n    <out at=\"{1 + 2}\"/>\n"
     u"  </xsl:template>\n</xsl:stylesheet>\n",
     {u"(", u")", u"\"", u"\n", u"$a", u"+", u" ", u"<xsl:sequence select=\"1 to 3\"/>", u"'",
      u"<!--", u"-->", u"/", u"fn:concat("}},
    {"j.json",
     TyDocumentKind::dkJSON,
     u"{\n  \"a\": [1, 2.5, true, null],\n  \"b\": {\"c\": \"d\"},\n  \"e\": \"x\\\"y\"\n}\n",
     {u"{", u"}", u"[", u"]", u"\"", u":", u",", u"\n", u"1e5", u"tru", u" "}},
};

std::vector<uint32_t> FreshFull(const std::u16string& Text, const TyCase& Case) {
  TxMarkupDocument Fresh;
  Fresh.LoadFromText(Text, Case.Path);
  Fresh.setKind(Case.Kind);
  CySemanticTokensState State;
  return State.Full(Fresh)["data"].get<std::vector<uint32_t>>();
}

void ExpectTokensInsideLines(const TxMarkupDocument& Document, const std::vector<uint32_t>& Data) {
  ASSERT_EQ(Data.size() % 5, 0u);
  int64_t Line = 0;
  uint32_t Start = 0, PreviousEnd = 0;
  for (size_t i = 0; i < Data.size(); i += 5) {
    if (Data[i] > 0) {
      Line += Data[i];
      Start = Data[i + 1];
      PreviousEnd = 0;
    } else {
      Start += Data[i + 1];
    }
    ASSERT_LT(Line, Document.getLineCount());
    EXPECT_GE(Start, PreviousEnd) << "overlap on line " << Line;
    EXPECT_GT(Data[i + 2], 0u);
    EXPECT_LE(Start + Data[i + 2], Document.getLine(Line + 1).size()) << "line " << Line << " of\n"
                                                                      << ToUTF8(Document.getText());
    PreviousEnd = Start + Data[i + 2];
  }
}

TEST(SemanticTokens, DeltasAfterRandomEditsMatchAFreshFullResult) {
  for (const TyCase& Case : kCases) {
    SCOPED_TRACE(Case.Path);
    std::mt19937 Random(17);
    TxMarkupDocument Document;
    Document.LoadFromText(Case.Text, Case.Path);
    Document.setKind(Case.Kind);
    CySemanticTokensState State;
    Document.AddListener(&State);
    json Result = State.Full(Document);
    std::vector<uint32_t> Data = Result["data"].get<std::vector<uint32_t>>();
    ASSERT_FALSE(Data.empty());
    std::string Id = Result["resultId"];
    for (int Step = 0; Step < 400; ++Step) {
      const int64_t Length = static_cast<int64_t>(Document.getText().size());
      const int64_t At = std::uniform_int_distribution<int64_t>(0, Length)(Random);
      const int64_t Removed = std::min<int64_t>(Length - At, Random() % 4 == 0 ? Random() % 12 : 0);
      const TyTextRange Range{Document.ConvertOffsetToPosition(At),
                              Document.ConvertOffsetToPosition(At + Removed)};
      const std::u16string& Snippet = Case.Snippets[Random() % Case.Snippets.size()];
      Document.ReplaceRange(Range, Random() % 5 == 0 ? u"" : Snippet);
      if (Random() % 3 != 0) continue;  // several edits between requests, too
      Result = State.Delta(Document, Id);
      if (Result.contains("edits"))
        test::ApplyTokenEdits(Data, Result["edits"]);
      else
        Data = Result["data"].get<std::vector<uint32_t>>();
      Id = Result["resultId"];
      const std::u16string Text = Document.getText();
      ASSERT_EQ(Data, FreshFull(Text, Case)) << "step " << Step;
      ExpectTokensInsideLines(Document, Data);
    }
    Document.RemoveListener(&State);
  }
}

TEST(SemanticTokens, StaleResultIdGetsAFullResultAndRangeMatchesFullLines) {
  const TyCase& Case = kCases[1];
  TxMarkupDocument Document;
  Document.LoadFromText(Case.Text, Case.Path);
  Document.setKind(Case.Kind);
  CySemanticTokensState State;
  Document.AddListener(&State);
  const json Full = State.Full(Document);
  Document.InsertText({2, 1}, u" ");
  const json Stale = State.Delta(Document, "no such id");
  ASSERT_TRUE(Stale.contains("data"));
  EXPECT_EQ(Stale["data"].get<std::vector<uint32_t>>(), FreshFull(Document.getText(), Case));
  Document.RemoveListener(&State);

  // A range over all lines is the full result; over one line, that line's tokens.
  const json All = CySemanticTokensState::Range(Document, {{1, 1}, Document.getEndPosition()});
  EXPECT_EQ(All["data"], Stale["data"]);
  const json One = CySemanticTokensState::Range(Document, {{3, 1}, {3, 5}});
  std::vector<uint32_t> Expected;
  CyLineTokenizer Tokenizer(Document);
  // The first token of the range counts from the document's start.
  int64_t Previous = 1;
  EncodeLineTokens(Tokenizer, 3, 3, Previous, Expected, nullptr);
  EXPECT_EQ(One["data"].get<std::vector<uint32_t>>(), Expected);
  EXPECT_FALSE(Expected.empty());
}

// The serialised full result the server sends is the JSON of the full result, and a delta
// against it works as against the JSON one.
TEST(SemanticTokens, SerialisedFullResultMatchesTheJSONOne) {
  for (const TyCase& Case : kCases) {
    TxMarkupDocument Document;
    Document.LoadFromText(Case.Text, Case.Path);
    Document.setKind(Case.Kind);
    CySemanticTokensState A, B;
    json FromText = json::parse(A.FullText(Document));
    json FromJson = B.Full(Document);
    EXPECT_EQ(FromText["data"], FromJson["data"]) << Case.Path;
    Document.AddListener(&A);
    Document.InsertText({2, 1}, u"\n");
    const json Delta = A.Delta(Document, FromText["resultId"]);
    ASSERT_TRUE(Delta.contains("edits")) << Case.Path;
    std::vector<uint32_t> Data = FromText["data"].get<std::vector<uint32_t>>();
    test::ApplyTokenEdits(Data, Delta["edits"]);
    EXPECT_EQ(Data, FreshFull(Document.getText(), Case)) << Case.Path;
    Document.RemoveListener(&A);
  }
}

// Tokens computed in parallel pieces (each piece joined to the previous by the first token's
// line delta) equal the line-by-line encoding of the whole document, and the counts per line
// add up to the data.
TEST(SemanticTokens, FullResultInPiecesMatchesTheLineByLineEncoding) {
  for (const TyCase& Case : kCases) {
    SCOPED_TRACE(Case.Path);
    std::u16string Text;
    // A JSON document of repeated objects is broken, which colours lines all the same.
    while (std::count(Text.begin(), Text.end(), u'\n') < 3000) Text += Case.Text;
    TxMarkupDocument Document;
    Document.LoadFromText(Text, Case.Path);
    Document.setKind(Case.Kind);
    std::vector<uint32_t> Expected;
    CyLineTokenizer Tokenizer(Document);
    int64_t Previous = 1;
    EncodeLineTokens(Tokenizer, 1, Document.getLineCount(), Previous, Expected, nullptr);
    for (const int Pieces : {1, 3, 4}) {
      TyJobContext Job;
      Job.PieceCount = Pieces;
      const TyFullTokens Full = ComputeFullTokens(*Document.CreateSnapshot(), Job, 500);
      EXPECT_EQ(Full.Pieces.size(), size_t(Pieces)) << "pieces";
      const json Data = json::parse("[" + Full.getJoined() + "]");
      ASSERT_EQ(Data.get<std::vector<uint32_t>>(), Expected) << Pieces << " pieces";
      ASSERT_EQ(Full.Counts.size(), size_t(Document.getLineCount()));
      EXPECT_EQ(5 * std::accumulate(Full.Counts.begin(), Full.Counts.end(), uint64_t{0}),
                Expected.size());
    }
  }
}

// The streamed "data" text of a full result equals, byte for byte, the line-by-line encoding
// joined by commas, for any cut into pieces and any chunk size, and the length announced
// before writing is exact: no lines at all, empty lines, lines and whole pieces without
// tokens, and more tokens than one block of the compact form holds.
TEST(SemanticTokens, StreamedFullResultEqualsTheJoinedEncoding) {
  std::u16string Big;
  for (int I = 0; I < 30000; ++I)
    Big += u"<item id=\"" + ToUTF16(std::to_string(I)) + u"\" k=\"v\">x</item>\n";
  // More tokens on one line than one block takes in one go.
  std::u16string LongLine = u"\n\n";
  for (int I = 0; I < 20000; ++I) LongLine += u"<a b=\"c\"/>";
  LongLine += u"\n<z/>\n";
  std::u16string TextThenTag, TagThenText;
  for (int I = 0; I < 3000; ++I) TextThenTag += u"plain text\n";
  TextThenTag += u"<a b=\"c\"/>";
  TagThenText = u"<a b=\"c\"/>\n" + TextThenTag.substr(0, TextThenTag.size() - 10);
  const struct {
    const char* Name;
    std::u16string Text;
    TyDocumentKind Kind;
  } kRows[] = {
      {"empty", u"", TyDocumentKind::dkXML},
      {"empty lines", u"\n\n\n\n", TyDocumentKind::dkXML},
      {"no tokens", u"text\nmore text\n\nlast", TyDocumentKind::dkXML},
      {"mixed", u"<a>\n\n  text\n<b c='d'/>\n\n<!-- x\n\n y -->\n</a>\n", TyDocumentKind::dkXML},
      {"tokens last", TextThenTag, TyDocumentKind::dkXML},
      {"tokens first", TagThenText, TyDocumentKind::dkXML},
      {"json", u"{\"a\": [1, 2,\n\n true],\n \"b\": null}\n", TyDocumentKind::dkJSON},
      {"many tokens", Big, TyDocumentKind::dkXML},
      {"long line", LongLine, TyDocumentKind::dkXML},
  };
  for (const auto& Row : kRows) {
    SCOPED_TRACE(Row.Name);
    TxMarkupDocument Document;
    Document.LoadFromText(Row.Text, "t.xml");
    Document.setKind(Row.Kind);
    std::vector<uint32_t> Numbers;
    CyLineTokenizer Tokenizer(Document);
    int64_t Previous = 1;
    EncodeLineTokens(Tokenizer, 1, Document.getLineCount(), Previous, Numbers, nullptr);
    std::string Expected;
    for (const uint32_t N : Numbers) Expected += (Expected.empty() ? "" : ",") + std::to_string(N);
    for (const int Pieces : {1, 2, 3, 7}) {
      TyJobContext Job;
      Job.PieceCount = Pieces;
      const TyFullTokens Full = ComputeFullTokens(*Document.CreateSharedSnapshot(), Job, 1);
      ASSERT_EQ(Full.getTextLength(), Expected.size()) << Pieces << " pieces";
      // Small chunks of a big result go through the expanding thread.
      for (const size_t Chunk : {size_t{1}, size_t{7}, size_t{4096}, size_t{1} << 20}) {
        if (Chunk < 4096 && Row.Text.size() > 10000) continue;  // a call per token: slow
        std::string Streamed;
        size_t Calls = 0;
        Full.WriteText(
            [&](std::string_view Part) {
              EXPECT_FALSE(Part.empty());
              EXPECT_LE(Part.size(), Chunk + 55);  // a chunk ends with the token that fills it
              Streamed += Part;
              ++Calls;
            },
            Chunk);
        ASSERT_EQ(Streamed, Expected) << Pieces << " pieces, chunks of " << Chunk;
        if (Chunk == 1) {
          EXPECT_EQ(Calls, Numbers.size() / 5);
        }
      }
      const std::unique_ptr<IyBodyPart> Body =
          FullResultBody(ComputeFullTokens(Document, Job, 1), "7");
      std::string Whole;
      Body->WriteTo([&](std::string_view Part) { Whole += Part; });
      ASSERT_EQ(Whole.size(), Body->getLength());
      EXPECT_EQ(Whole, "{\"data\":[" + Expected + "],\"resultId\":\"7\"}");
    }
  }
}

// A full result computed from a snapshot while the document goes on changing: the changes
// are tracked against the snapshot, so the delta after its counts are installed, applied to
// it, equals a fresh full result. Before the install every delta gets a full result, and the
// install of a result begun earlier than the last one is ignored.
TEST(SemanticTokens, FullResultFromASnapshotIsTheBaseOfLaterDeltas) {
  for (const TyCase& Case : kCases) {
    SCOPED_TRACE(Case.Path);
    std::mt19937 Random(5);
    TxMarkupDocument Document;
    Document.LoadFromText(Case.Text, Case.Path);
    Document.setKind(Case.Kind);
    CySemanticTokensState State;
    Document.AddListener(&State);
    for (int Round = 0; Round < 60; ++Round) {
      // A shared snapshot is left the lines by the first edit; a copied one has its own.
      const TxDocumentSnapshotPtr Snapshot =
          Round % 2 ? Document.CreateSharedSnapshot() : Document.CreateSnapshot();
      const std::string Id = State.BeginFull();
      for (int Edit = Random() % 4; Edit > 0; --Edit) {
        const int64_t Length = static_cast<int64_t>(Document.getText().size());
        const int64_t At = std::uniform_int_distribution<int64_t>(0, Length)(Random);
        const std::u16string& Snippet = Case.Snippets[Random() % Case.Snippets.size()];
        Document.InsertText(Document.ConvertOffsetToPosition(At), Snippet);
      }
      if (Round % 10 == 9) {
        // Asked before the counts arrive: a full result, which supersedes the one begun.
        const json Early = State.Delta(Document, Id);
        ASSERT_TRUE(Early.contains("data"));
        State.InstallFull(Id, ComputeFullTokens(*Snapshot, {}).Counts);
        EXPECT_TRUE(State.NeedsFull(Id));
        continue;
      }
      TyFullTokens Full = ComputeFullTokens(*Snapshot, {});
      std::vector<uint32_t> Data = json::parse("[" + Full.getJoined() + "]");
      State.InstallFull(Id, std::move(Full.Counts));
      const json Delta = State.Delta(Document, Id);
      ASSERT_TRUE(Delta.contains("edits")) << "round " << Round;
      test::ApplyTokenEdits(Data, Delta["edits"]);
      ASSERT_EQ(Data, FreshFull(Document.getText(), Case)) << "round " << Round;
    }
    Document.RemoveListener(&State);
  }
}

// XPath inside XSLT attribute values is tokenized by the XPath colouring, not as one string.
TEST(SemanticTokens, XPathAttributeValuesAreTokenizedInside) {
  TxMarkupDocument Document;
  Document.LoadFromText(
      u"<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\">"
      u"<xsl:value-of select=\"count($v)\"/></xsl:stylesheet>",
      "s.xsl");
  Document.setKind(TyDocumentKind::dkXSLT);
  CyLineTokenizer Tokenizer(Document);
  std::vector<TyLspToken> Tokens;
  Tokenizer.Tokenize(1, Tokens);
  const std::u16string Line(Document.getLine(1));
  const size_t Count = Line.find(u"count");
  const size_t Var = Line.find(u"$v");
  bool SawFunction = false, SawVariable = false;
  for (const TyLspToken& T : Tokens) {
    // Legend indexes: 8 variable, 9 function; the "$" may be a token of its own.
    if (T.Start == Count && T.Length == 5 && T.Type == 9) SawFunction = true;
    if ((T.Start == Var || T.Start == Var + 1) && T.Type == 8) SawVariable = true;
  }
  EXPECT_TRUE(SawFunction);
  EXPECT_TRUE(SawVariable);
}

}  // namespace
}  // namespace xylem::lsp
