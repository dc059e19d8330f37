#pragma once
// Listeners of the XPath parser: notified on entering and leaving each grammar rule and on each
// consumed token, so that recorders, coloring and tool tips build what they need.

#include <cstdint>
#include <string_view>
#include <vector>

#include "xpath/Token.hpp"

namespace xylem {

class IyXPath31ParserListener {
 public:
  virtual ~IyXPath31ParserListener() = default;
  // A rule method begins; RuleName without "xpr" ("AdditiveExpr"); index of the current token.
  virtual void EnterRule(std::u16string_view RuleName, int32_t TokenIndex) = 0;
  // A rule method ends normally; index of the token that now stands current.
  virtual void LeaveRule(std::u16string_view RuleName, int32_t TokenIndex) = 0;
  // A token has been consumed: its kind, character index and text.
  virtual void Match(TyXPath31Token Kind, int32_t TokenIndex, std::u16string_view TokenText) = 0;
};

// Does nothing; stands in where nothing is to be built.
class CyXPath31ParserListenerNIL final : public IyXPath31ParserListener {
 public:
  void EnterRule(std::u16string_view, int32_t) override {}
  void LeaveRule(std::u16string_view, int32_t) override {}
  void Match(TyXPath31Token, int32_t, std::u16string_view) override {}
};

// Multicast: forwards each call to every member in list order. Members are not owned and must
// outlive the list.
class CyXPath31ParserListeners final : public IyXPath31ParserListener {
 public:
  // Appends a member (not owned).
  void Add(IyXPath31ParserListener* Listener) { Members.push_back(Listener); }
  int Count() const { return int(Members.size()); }
  void EnterRule(std::u16string_view RuleName, int32_t TokenIndex) override {
    for (auto* L : Members) L->EnterRule(RuleName, TokenIndex);
  }
  void LeaveRule(std::u16string_view RuleName, int32_t TokenIndex) override {
    for (auto* L : Members) L->LeaveRule(RuleName, TokenIndex);
  }
  void Match(TyXPath31Token Kind, int32_t TokenIndex, std::u16string_view TokenText) override {
    for (auto* L : Members) L->Match(Kind, TokenIndex, TokenText);
  }

 private:
  std::vector<IyXPath31ParserListener*> Members;
};

}  // namespace xylem
