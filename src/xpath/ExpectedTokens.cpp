// Ordered views over the expected-token bit set.

#include "xpath/ExpectedTokens.hpp"

namespace xylem {

TyXPath31Token CyXPath31ParserExpectedTokens::XPath31Tokens(int Index) const {
  for (int W = 0; W < 2; ++W) {
    uint64_t Bits = Set.Bits[W];
    int N = std::popcount(Bits);
    if (Index < N) {
      for (int I = 0; I < Index; ++I) Bits &= Bits - 1;  // drop the lower kinds
      return TyXPath31Token(W * 64 + std::countr_zero(Bits));
    }
    Index -= N;
  }
  return X_ERROR;  // out of range
}

bool CyXPath31ParserExpectedTokens::Find(TyXPath31Token Kind, int& Index) const {
  uint64_t Low = Kind < 64 ? Set.Bits[0] & ((uint64_t(1) << Kind) - 1) : Set.Bits[0];
  uint64_t High = Kind < 64 ? 0 : Set.Bits[1] & ((uint64_t(1) << (Kind - 64)) - 1);
  Index = std::popcount(Low) + std::popcount(High);
  return Set.Has(Kind);
}

void CyXPath31ParserExpectedTokens::Expect(const TyXPath31Token* Kinds, int Count) {
  for (int I = 0; I < Count; ++I) Set.Add(Kinds[I]);
}

void CyXPath31ParserExpectedTokenTypes::Expect(const TyXPath31Token* Kinds,
                                               const TyXPath31TokenType* Types, int Count) {
  for (int I = 0; I < Count; ++I) {
    ByClass[Types[I]].Add(Kinds[I]);
    Used |= uint32_t(1) << Types[I];
  }
}

}  // namespace xylem
