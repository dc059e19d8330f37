// Expected-token set and class matrix against a plain std::set reference.

#include "xpath/ExpectedTokens.hpp"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace xylem {
namespace {

TEST(XPathExpectedTokens, BehavesLikeASortedSet) {
  std::mt19937 Random(7);
  for (int Round = 0; Round < 50; ++Round) {
    CyXPath31ParserExpectedTokens Set;
    CyXPath31ParserExpectedTokenTypes Matrix;
    std::set<int> Reference;
    std::set<std::pair<int, int>> Pairs;
    for (int Batch = 0; Batch < 5; ++Batch) {
      TyXPath31Token Kinds[8];
      TyXPath31TokenType Types[8];
      int Count = int(Random() % 8);
      for (int I = 0; I < Count; ++I) {
        Kinds[I] = TyXPath31Token(Random() % kXPath31TokenCount);
        Types[I] = TyXPath31TokenType(Random() % kXPath31TokenTypeCount);
        Reference.insert(Kinds[I]);
        Pairs.insert({Kinds[I], Types[I]});
      }
      Set.Expect(Kinds, Count);
      Matrix.Expect(Kinds, Types, Count);
    }
    ASSERT_EQ(Set.Count(), int(Reference.size()));
    int Position = 0;
    for (int Kind : Reference) EXPECT_EQ(Set.XPath31Tokens(Position++), Kind);
    for (int Kind = 0; Kind < kXPath31TokenCount; ++Kind) {
      int Index = -1;
      bool Found = Set.Find(TyXPath31Token(Kind), Index);
      EXPECT_EQ(Found, Reference.count(Kind) == 1);
      EXPECT_EQ(Index, int(std::distance(Reference.begin(), Reference.lower_bound(Kind))));
      for (int Type = 0; Type < kXPath31TokenTypeCount; ++Type)
        EXPECT_EQ(Matrix.Find(TyXPath31Token(Kind), TyXPath31TokenType(Type)),
                  Pairs.count({Kind, Type}) == 1);
    }
    Set.Clear();
    Matrix.Clear();
    EXPECT_EQ(Set.Count(), 0);
    EXPECT_FALSE(Matrix.Find(X_Plus, xtOperator));
  }
}

TEST(XPathExpectedTokens, ExpectationsCombine) {
  constexpr TyXPath31Expectation A{{X_Plus, xtOperator}, {X_EQName, xtNameTest}};
  constexpr TyXPath31Expectation B{{X_EQName, xtSchemaTypeName}, {X_ERROR, xtError}};
  constexpr TyXPath31Expectation Both = A | B;
  static_assert(Both.Has(X_Plus) && Both.Has(X_ERROR) && !Both.Has(X_Minus));
  CyXPath31ParserExpectedTokenTypes Matrix;
  Matrix.Expect(Both);
  EXPECT_TRUE(Matrix.Find(X_EQName, xtNameTest));
  EXPECT_TRUE(Matrix.Find(X_EQName, xtSchemaTypeName));
  EXPECT_FALSE(Matrix.Find(X_Plus, xtNameTest));
  EXPECT_EQ(Both.Kinds.Count(), 3);
}

}  // namespace
}  // namespace xylem
