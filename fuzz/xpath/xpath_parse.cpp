// Arbitrary text through the XPath tokenizer and the parser from every start rule: no crash, and
// after a failure the error step and the expected sets are readable and consistent, and the
// follower sets agree with what the parser expected at the failing position.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "xpath/Followers.hpp"
#include "xpath/Parser.hpp"

namespace {

using namespace xylem;

void Require(bool Condition) {
  if (!Condition) std::abort();
}

void CheckSteps(const TyXPath31Steps& Steps, const char16_t* Text, size_t Length) {
  Require(Steps.size() >= CyXPath31Tokenizer::kLeadingSteps + 2);
  Require(Steps[CyXPath31Tokenizer::kLeadingSteps].XPath31Token == X_BOF);
  Require(Steps.back().XPath31Token == X_EOF);
  for (size_t I = CyXPath31Tokenizer::kLeadingSteps; I < Steps.size(); ++I) {
    const TyXPath31Step& S = Steps[I];
    Require(S.PHead >= Text && S.PHead <= S.PTail && S.PTail <= Text + Length);
    Require(size_t(S.XPath31TokenIndex) == size_t(S.PHead - Text));
    Require(S.XPath31TokenText.data() == S.PHead);
  }
}

void ParseFrom(const char16_t* Text, size_t Length, TyXPath31ParserRule Rule) {
  CyXPath31Parser Parser(Text, Rule);
  CheckSteps(Parser.XPath31Steps(), Text, Length);
  try {
    Parser.Parse();
    return;
  } catch (const CyException& E) {
    Require(std::strlen(E.what()) > 0);
    PyXPath31Step Error = Parser.XPath31ErrorStep();
    Require(Error == Parser.CurrentXPath31Step());
    Require(Parser.XPath31LastStepBeforeError() + 1 == Error);
    Require(Error->XPath31TokenType == xtError);
    const CyXPath31ParserExpectedTokens& Expected = Parser.XPath31ExpectedTokens();
    int Previous = -1;
    for (int I = 0; I < Expected.Count(); ++I) {
      TyXPath31Token Kind = Expected.XPath31Tokens(I);
      int Index = -1;
      Require(int(Kind) > Previous && Expected.Find(Kind, Index) && Index == I);
      Previous = Kind;
    }
    if (std::strcmp(E.what(), "Expression nested too deeply.") == 0) return;
    // The follower sets are the parser's expectations after the last label.
    TyXPath31Label Label = Parser.XPath31LastStepBeforeError()->RuleContext;
    const TyXPath31TokenSet& Set = Expected.getSet();
    const CyXPath31Followers& F = CyXPath31Followers::Get();
    Require(F.Contains(frFunctionCall, Label) == Set.Has(X_EQName_ALT_3));
    Require(F.Contains(frNamedFunctionRef, Label) == Set.Has(X_EQName_ALT_4));
    Require(F.Contains(frFunctionTest, Label) == Set.Has(X_Function_ALT_2));
    Require(F.Contains(frNameTest, Label) == Set.Has(X_EQName));
    Require(F.Contains(frPlainName, Label) == (Set.Has(X_NCName) && !Set.Has(X_EQName)));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  std::vector<char16_t> Text(Size + 1, 0);
  TyUTF8DecodeResult Decoded = DecodeUTF8(Data, Data + Size, Text.data());
  Text[Decoded.Written] = 0;
  const char16_t* Head = Text.data();
  for (bool AVT : {false, true}) {
    CyXPath31Tokenizer Tokenizer(Head, AVT);
    CheckSteps(Tokenizer.XPath31Steps(), Head, Decoded.Written);
  }
  for (TyXPath31ParserRule Rule :
       {xprExpr, xprSequenceType, xprItemType, xprPattern30, xprUnionExprP, xprAVT})
    ParseFrom(Head, Decoded.Written, Rule);
  return 0;
}
