#include "xml/check/EntityRules.hpp"

#include <algorithm>

#include "xml/syntax/Names.hpp"

namespace xylem::wellformed {

namespace {

bool IsSpace(char16_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::u16string Message(std::u16string_view Format, std::u16string_view Name) {
  return FormatXMLErrReason(Format, {Name});
}

constexpr std::u16string_view kUndeclared = u"Entity '%s' is not declared.";
constexpr std::u16string_view kUnparsed = u"Entity '%s' is unparsed; it may not be referenced.";
constexpr std::u16string_view kExternalInAttribute =
    u"External entity '%s' may not be referenced in an attribute value.";
constexpr std::u16string_view kLessInAttribute =
    u"Entity '%s' expands to '<', which an attribute value must not contain.";
constexpr std::u16string_view kNotContent =
    u"The replacement text of entity '%s' is not well-formed content.";
constexpr std::u16string_view kRecursion = u"Entity '%s' refers to itself.";
constexpr std::u16string_view kTooDeep = u"Entity '%s' nests references more than 40 levels deep.";
constexpr std::u16string_view kTooLarge = u"Entity '%s' expands to more than 10000000 characters.";

// Reads a replacement text as content or as an attribute value's characters, handing entity
// references back to the rules. Stops at the first fault.
class CyReplacementText {
 public:
  using TyNested = std::u16string (CyEntityRules::*)(std::u16string_view, bool, int64_t&);

  CyReplacementText(std::u16string_view Text, CyEntityRules& Rules, TyNested Nested)
      : T_(Text), Rules_(Rules), Nested_(Nested) {}

  // The fault (empty: none); Size receives the expanded length.
  std::u16string Judge(bool InAttribute, int64_t& Size) {
    Size_ = 0;
    const bool ok = InAttribute ? AttributeChars(T_.size(), true) : Content();
    Size = Size_;
    if (!Fault_.empty()) return Fault_;
    return ok ? std::u16string() : std::u16string(u"?");  // the caller names the entity
  }

 private:
  char16_t At(size_t i) const { return i < T_.size() ? T_[i] : 0; }
  bool Looking(std::u16string_view s) const { return T_.substr(I_).starts_with(s); }
  size_t NameEnd(size_t From) const {
    size_t e = From;
    while (e < T_.size() && CyXMLNames::IsName_Char(2, T_[e])) ++e;
    return CyXMLNames::IsName(T_.substr(From, e - From)) ? e : From;
  }
  void Add(int64_t n) { Size_ = std::min(Size_ + n, CyEntityRules::kMaxExpansion + 1); }

  // A reference at I_ ('&'); Quote: the attribute value's quote inside a tag (0 otherwise).
  bool Reference(bool InAttribute) {
    size_t end = I_ + 1;
    if (At(end) == '#') {
      while (end < T_.size() && T_[end] != ';') ++end;
      const int64_t value = end < T_.size() ? CharRefValue(T_.substr(I_ + 2, end - I_ - 2)) : -1;
      if (value < 0 || !IsXMLChar(static_cast<char32_t>(value))) return false;
      Add(1);
      I_ = end + 1;
      return true;
    }
    end = NameEnd(I_ + 1);
    if (end == I_ + 1 || At(end) != ';') return false;
    const std::u16string_view name = T_.substr(I_ + 1, end - I_ - 1);
    int64_t size = 0;
    Fault_ = (Rules_.*Nested_)(name, InAttribute, size);
    if (!Fault_.empty()) return false;
    Add(size);
    I_ = end + 1;
    return true;
  }

  // Characters of an attribute value up to End: no '<', references well formed.
  bool AttributeChars(size_t End, bool Top) {
    while (I_ < End) {
      const char16_t c = T_[I_];
      if (c == '<') {
        if (Top) Fault_ = u"<";
        return false;
      }
      if (c == '&') {
        if (!Reference(true)) return false;
        continue;
      }
      Add(1);
      ++I_;
    }
    return true;
  }

  bool Content() {
    std::vector<std::u16string_view> open;
    while (I_ < T_.size()) {
      const char16_t c = T_[I_];
      if (c == '&') {
        if (!Reference(false)) return false;
      } else if (c != '<') {
        if (c == ']' && Looking(u"]]>")) return false;
        Add(1);
        ++I_;
      } else if (Looking(u"<!--")) {
        const size_t end = T_.find(u"--", I_ + 4);
        if (end == T_.npos || At(end + 2) != '>') return false;
        I_ = end + 3;
      } else if (Looking(u"<![CDATA[")) {
        const size_t end = T_.find(u"]]>", I_ + 9);
        if (end == T_.npos) return false;
        Add(static_cast<int64_t>(end - I_ - 9));
        I_ = end + 3;
      } else if (Looking(u"<?")) {
        const size_t name = NameEnd(I_ + 2);
        const size_t end = T_.find(u"?>", I_ + 2);
        if (name == I_ + 2 || end == T_.npos || (name < end && !IsSpace(T_[name]))) return false;
        const std::u16string_view target = T_.substr(I_ + 2, name - I_ - 2);
        if (target.size() == 3 && (target[0] | 32) == 'x' && (target[1] | 32) == 'm' &&
            (target[2] | 32) == 'l')
          return false;
        I_ = end + 2;
      } else if (Looking(u"</")) {
        const size_t end = NameEnd(I_ + 2);
        if (open.empty() || T_.substr(I_ + 2, end - I_ - 2) != open.back()) return false;
        open.pop_back();
        I_ = end;
        while (IsSpace(At(I_))) ++I_;
        if (At(I_) != '>') return false;
        ++I_;
      } else if (!StartTag(open)) {
        return false;
      }
    }
    return open.empty();
  }

  bool StartTag(std::vector<std::u16string_view>& Open) {
    const size_t end = NameEnd(I_ + 1);
    if (end == I_ + 1) return false;
    const std::u16string_view name = T_.substr(I_ + 1, end - I_ - 1);
    I_ = end;
    std::vector<std::u16string_view> attributes;
    for (;;) {
      const bool space = IsSpace(At(I_));
      while (IsSpace(At(I_))) ++I_;
      if (At(I_) == '>') {
        Open.push_back(name);
        ++I_;
        return true;
      }
      if (Looking(u"/>")) {
        I_ += 2;
        return true;
      }
      const size_t nameEnd = NameEnd(I_);
      if (!space || nameEnd == I_) return false;
      const std::u16string_view attribute = T_.substr(I_, nameEnd - I_);
      if (std::find(attributes.begin(), attributes.end(), attribute) != attributes.end())
        return false;
      attributes.push_back(attribute);
      I_ = nameEnd;
      while (IsSpace(At(I_))) ++I_;
      if (At(I_) != '=') return false;
      ++I_;
      while (IsSpace(At(I_))) ++I_;
      const char16_t quote = At(I_);
      if (quote != '"' && quote != '\'') return false;
      const size_t close = T_.find(quote, I_ + 1);
      if (close == T_.npos) return false;
      ++I_;
      const int64_t before = Size_;
      if (!AttributeChars(close, false)) return false;
      Size_ = before;  // attribute values count where they are used, not here
      I_ = close + 1;
    }
  }

  std::u16string_view T_;
  CyEntityRules& Rules_;
  TyNested Nested_;
  size_t I_ = 0;
  int64_t Size_ = 0;
  std::u16string Fault_;
};

}  // namespace

CyEntityRules::CyEntityRules(const TyDoctypeInfo& Info, bool Standalone)
    : Info_(Info), Decided_(Standalone || (!Info.ExternalSubset && !Info.PEReferences)) {}

void CyEntityRules::Reference(const TyEntityRef& Ref, CyFindings& Findings) {
  const auto found = Info_.General.find(Ref.Name);
  if (found == Info_.General.end()) {
    if (Decided_) Findings.Add(Ref.Line, Ref.Pos, kUndeclared, {Ref.Name});
    return;
  }
  const TyEntityDecl& decl = found->second;
  if (decl.Kind == TyEntityKind::ekUnparsed) {
    Findings.Add(Ref.Line, Ref.Pos, kUnparsed, {Ref.Name});
    return;
  }
  if (decl.Kind == TyEntityKind::ekExternal) {
    if (Ref.InAttribute) Findings.Add(Ref.Line, Ref.Pos, kExternalInAttribute, {Ref.Name});
    return;
  }
  TyVerdict& verdict = Judge(found->first, Ref.InAttribute);
  if (verdict.Fault.empty() || verdict.Reported) return;
  verdict.Reported = true;
  Findings.Add(Ref.Line, Ref.Pos, verdict.Fault);
}

CyEntityRules::TyVerdict& CyEntityRules::Judge(const std::u16string& Name, bool InAttribute) {
  TyVerdict& verdict = (InAttribute ? Attribute_ : Content_)[Name];
  if (verdict.State != 0) return verdict;
  verdict.State = 1;
  int64_t size = 0;
  ++Depth_;
  std::u16string fault = JudgeText(Info_.General.find(Name)->second.Text, InAttribute, size);
  --Depth_;
  if (fault == u"?") fault = Message(kNotContent, Name);
  if (fault == u"<") fault = Message(kLessInAttribute, Name);
  if (fault.empty() && size > kMaxExpansion) fault = Message(kTooLarge, Name);
  verdict.Fault = std::move(fault);
  verdict.Size = size;
  verdict.State = 2;
  return verdict;
}

std::u16string CyEntityRules::JudgeText(std::u16string_view Text, bool InAttribute, int64_t& Size) {
  return CyReplacementText(Text, *this, &CyEntityRules::JudgeNested).Judge(InAttribute, Size);
}

std::u16string CyEntityRules::JudgeNested(std::u16string_view Name, bool InAttribute,
                                          int64_t& Size) {
  Size = 0;
  if (IsPredefinedEntity(Name)) {
    Size = 1;
    return {};
  }
  const auto found = Info_.General.find(Name);
  if (found == Info_.General.end()) return Decided_ ? Message(kUndeclared, Name) : u"";
  const TyEntityDecl& decl = found->second;
  if (decl.Kind == TyEntityKind::ekUnparsed) return Message(kUnparsed, Name);
  if (decl.Kind == TyEntityKind::ekExternal)
    return InAttribute ? Message(kExternalInAttribute, Name) : u"";
  const auto seen = (InAttribute ? Attribute_ : Content_).find(found->first);
  if (seen != (InAttribute ? Attribute_ : Content_).end() && seen->second.State == 1)
    return Message(kRecursion, Name);
  if (seen == (InAttribute ? Attribute_ : Content_).end() || seen->second.State == 0) {
    // Judging it reads deeper: bounded, so that a long chain of entities cannot exhaust the
    // stack (libxml2 draws the same line).
    if (Depth_ >= kMaxDepth) return Message(kTooDeep, Name);
  }
  const TyVerdict& verdict = Judge(found->first, InAttribute);
  Size = verdict.Size;
  return verdict.Fault;
}

}  // namespace xylem::wellformed
