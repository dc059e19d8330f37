#pragma once
// What the parser would accept next: the expected-token set and the expected token-class
// matrix, both bit sets so that announcing them at every grammar decision costs a few word ORs.

#include <bit>
#include <cstdint>
#include <initializer_list>
#include <utility>

#include "xpath/Token.hpp"

namespace xylem {

// A set of token kinds (117 bits).
struct TyXPath31TokenSet {
  uint64_t Bits[2] = {0, 0};

  constexpr bool Has(TyXPath31Token Kind) const { return (Bits[Kind >> 6] >> (Kind & 63)) & 1; }
  constexpr void Add(TyXPath31Token Kind) { Bits[Kind >> 6] |= uint64_t(1) << (Kind & 63); }
  constexpr void Add(const TyXPath31TokenSet& Other) {
    Bits[0] |= Other.Bits[0];
    Bits[1] |= Other.Bits[1];
  }
  constexpr bool Empty() const { return (Bits[0] | Bits[1]) == 0; }
  constexpr int Count() const { return std::popcount(Bits[0]) + std::popcount(Bits[1]); }
};

// What one grammar decision announces: each kind with the class it would take there.
struct TyXPath31Expectation {
  TyXPath31TokenSet Kinds;                            // union over the classes
  TyXPath31TokenSet ByClass[kXPath31TokenTypeCount];  // kinds expected in each class
  uint32_t Classes = 0;                               // bit per class with a non-empty set

  constexpr TyXPath31Expectation() = default;
  constexpr TyXPath31Expectation(
      std::initializer_list<std::pair<TyXPath31Token, TyXPath31TokenType>> Pairs) {
    for (auto [Kind, Type] : Pairs) {
      Kinds.Add(Kind);
      ByClass[Type].Add(Kind);
      Classes |= uint32_t(1) << Type;
    }
  }
  // Whether the decision admits Kind (the branch test of the parser).
  constexpr bool Has(TyXPath31Token Kind) const { return Kinds.Has(Kind); }
  friend constexpr TyXPath31Expectation operator|(TyXPath31Expectation A,
                                                  const TyXPath31Expectation& B) {
    A.Kinds.Add(B.Kinds);
    for (int T = 0; T < kXPath31TokenTypeCount; ++T) A.ByClass[T].Add(B.ByClass[T]);
    A.Classes |= B.Classes;
    return A;
  }
};

// Read side of the expected-token set.
class IyXPath31ParserExpectedTokens {
 public:
  virtual ~IyXPath31ParserExpectedTokens() = default;
  // Number of kinds in the set.
  virtual int Count() const = 0;
  // The Index-th kind in ascending order (0 <= Index < Count()).
  virtual TyXPath31Token XPath31Tokens(int Index) const = 0;
  // Whether Kind is present; Index receives where it is or would be inserted.
  virtual bool Find(TyXPath31Token Kind, int& Index) const = 0;
};

// The expected-token set: kinds in ascending order, no duplicates.
class CyXPath31ParserExpectedTokens final : public IyXPath31ParserExpectedTokens {
 public:
  int Count() const override { return Set.Count(); }
  TyXPath31Token XPath31Tokens(int Index) const override;
  bool Find(TyXPath31Token Kind, int& Index) const override;
  // Adds each of the Count kinds not yet present.
  void Expect(const TyXPath31Token* Kinds, int Count);
  void Expect(const TyXPath31TokenSet& Kinds) { Set.Add(Kinds); }
  void Clear() { Set = {}; }
  const TyXPath31TokenSet& getSet() const { return Set; }

 private:
  TyXPath31TokenSet Set;
};

// Read side of the expected token-class matrix.
class IyXPath31ParserExpectedTokenTypes {
 public:
  virtual ~IyXPath31ParserExpectedTokenTypes() = default;
  // Whether Kind is expected in the role Type.
  virtual bool Find(TyXPath31Token Kind, TyXPath31TokenType Type) const = 0;
};

// The expected token-class matrix: one flag per (kind, class) pair.
class CyXPath31ParserExpectedTokenTypes final : public IyXPath31ParserExpectedTokenTypes {
 public:
  bool Find(TyXPath31Token Kind, TyXPath31TokenType Type) const override {
    return ByClass[Type].Has(Kind);
  }
  // Sets the flag of each pair (Kinds[i], Types[i]).
  void Expect(const TyXPath31Token* Kinds, const TyXPath31TokenType* Types, int Count);
  // Adds a decision's pairs; touches only the classes it names.
  void Expect(const TyXPath31Expectation& E) {
    for (uint32_t C = E.Classes; C != 0; C &= C - 1) {
      int T = std::countr_zero(C);
      ByClass[T].Add(E.ByClass[T]);
    }
    Used |= E.Classes;
  }
  // Empties the matrix; cost proportional to the classes in use.
  void Clear() {
    for (uint32_t C = Used; C != 0; C &= C - 1) ByClass[std::countr_zero(C)] = {};
    Used = 0;
  }

 private:
  TyXPath31TokenSet ByClass[kXPath31TokenTypeCount];
  uint32_t Used = 0;
};

}  // namespace xylem
