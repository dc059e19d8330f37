// Reading in parallel pieces gives exactly the tree and the refusal of a read in one pass:
// documents built to put piece starts in awkward places (inside comments, CDATA, attribute
// values and preserved elements, between text and markup) and broken ones.
#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

#include "common/Utf.hpp"
#include "support/FormatterTestSupport.hpp"
#include "xml/format/Reader.hpp"
#include "xml/format/Writer.hpp"

namespace xylem {

namespace {

struct TyOutcome {
  std::u16string Formatted;                            // the tree written under two option sets
  std::optional<std::pair<int64_t, int64_t>> Refused;  // line and position
  int PiecesJoined = 1;
  bool operator==(const TyOutcome& Other) const {
    return Formatted == Other.Formatted && Refused == Other.Refused;
  }
};

// Every child's links agree with its parent's (the join relinks pieces' top-level nodes).
void CheckLinks(const PyXMLDOMTree& Tree) {
  std::vector<const TyXMLDOMNode*> todo;
  for (const TyXMLDOMNode* n = Tree.getFirst(); n; n = n->NextSibling) {
    ASSERT_EQ(n->Parent, nullptr);
    if (!n->NextSibling) {
      ASSERT_EQ(n, Tree.getLast());
    }
    todo.push_back(n);
  }
  while (!todo.empty()) {
    const TyXMLDOMNode* node = todo.back();
    todo.pop_back();
    for (const TyXMLDOMNode* c = node->FirstChild; c; c = c->NextSibling) {
      ASSERT_EQ(c->Parent, node);
      if (!c->NextSibling) {
        ASSERT_EQ(c, node->LastChild);
      }
      todo.push_back(c);
    }
  }
}

// Read and written under the usual choices (white space between children dropped where it is
// never written) and under "leave everything" (all of it kept).
TyOutcome Read(const std::string& Utf8, int Pieces) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(ToUTF16(Utf8), 1);
  const CyXMLWordList wordsD(u"fmt"), wordsP(u"pre");
  TyOutcome outcome;
  const std::pair<uint32_t, uint32_t> choices[] = {{0x1F, 0x19}, {0, 0x08}};
  for (const auto& [formatting, layout] : choices) {
    const auto f = TyXMLFormattingOptions::FromBits(formatting);
    const auto l = TyXMLLayoutOptions::FromBits(layout);
    PyXMLDOMTree tree;
    TxXMLParser parser;
    try {
      outcome.PiecesJoined =
          CyXMLReader::Read__PARALLEL__(list, parser, f, l, wordsD, wordsP, tree, Pieces, 1);
    } catch (const CyXMLFormatException& error) {
      outcome.Refused = {error.Line, error.Linepos};
      return outcome;
    }
    CheckLinks(tree);
    CyXMLWriterStringOutputStream out;
    CyXMLWriter(out, f, l, u"", u"  ").WriteDocument(tree);
    outcome.Formatted += out.getText();
  }
  return outcome;
}

}  // namespace

TEST(ReaderPieces, SameTreeAsOnePassOnAwkwardBoundaries) {
  std::mt19937 random(7);
  int joined = 0;  // reads that really joined pieces rather than falling back to one pass
  for (int round = 0; round < 60; ++round) {
    const std::string doc = test::RandomFragmentDocument(random, 4 + round % 20);
    const TyOutcome whole = Read(doc, 1);
    ASSERT_FALSE(whole.Refused) << doc;
    for (int pieces : {2, 3, 5, 8}) {
      const TyOutcome split = Read(doc, pieces);
      ASSERT_EQ(split, whole) << pieces << "\n" << doc;
      joined += split.PiecesJoined > 1;
    }
  }
  EXPECT_GT(joined, 40);
  // Plain records always join.
  std::string plain = "<root>\n";
  for (int i = 0; i < 50; ++i) plain += test::kFragments[0];
  plain += "</root>\n";
  for (int pieces : {2, 3, 5}) {
    const TyOutcome split = Read(plain, pieces);
    EXPECT_EQ(split.PiecesJoined, pieces);
    EXPECT_EQ(split, Read(plain, 1));
  }
}

TEST(ReaderPieces, SameRefusalAsOnePass) {
  // Each broken document is refused at the same place whichever piece holds the fault.
  std::mt19937 random(11);
  for (const std::string& doc : test::BrokenDocuments()) {
    const TyOutcome whole = Read(doc, 1);
    ASSERT_TRUE(whole.Refused) << doc;
    for (int pieces : {2, 3, 4}) ASSERT_EQ(Read(doc, pieces), whole) << pieces << "\n" << doc;
  }
  for (int round = 0; round < 60; ++round) {
    std::string doc = test::RandomFragmentDocument(random, 6 + round % 10);
    // Delete one character somewhere after the prolog.
    std::uniform_int_distribution<size_t> at(30, doc.size() - 1);
    doc.erase(at(random), 1);
    const TyOutcome whole = Read(doc, 1);
    for (int pieces : {2, 3, 6}) ASSERT_EQ(Read(doc, pieces), whole) << pieces << "\n" << doc;
  }
}

}  // namespace xylem
