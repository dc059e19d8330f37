#pragma once
// Replacement templates of regular-expression replace: parsed once, before any text changes,
// into literal texts and group references, then translated for every match.
//
// After "$": "$$" is a "$"; "$0" the whole match; "$" and one digit 1-9 not followed by a digit
// that group; "$" and two digits (the first 1-9) that two-digit group; "${name}" the named group
// (name: one or more of 0-9, A-Z, a-z, _); "$" before anything else, or at the end, is a "$".
// After "\": "\0" the whole match; one or two digits a group as after "$"; "\g<name>" the named
// group; other escapes as ReadSimpleEscape (Escapes.hpp) reads them.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "search/Escapes.hpp"
#include "search/FIFO.hpp"
#include "search/RegExprSearcher.hpp"

namespace xylem {

// One part of a parsed template.
class CyReplaceWithPart {
 public:
  virtual ~CyReplaceWithPart() = default;
  // Appends this part's text for Match to Out. No allocation beyond Out's growth.
  virtual void Translate(const TyRegExprMatch& Match, CyFIFOUTF16& Out) const = 0;
};

// Fixed text.
class CyLiteral : public CyReplaceWithPart {
 public:
  explicit CyLiteral(std::u16string Text) : Text_(std::move(Text)) {}
  void Translate(const TyRegExprMatch& Match, CyFIFOUTF16& Out) const override;
  // The fixed text.
  const std::u16string& getText() const { return Text_; }

 private:
  std::u16string Text_;
};

// A numbered group; 0 is the whole match.
class CyBackreference : public CyReplaceWithPart {
 public:
  explicit CyBackreference(int32_t Number) : Number_(Number) {}
  void Translate(const TyRegExprMatch& Match, CyFIFOUTF16& Out) const override;
  // The group's number.
  int32_t getNumber() const { return Number_; }

 private:
  int32_t Number_;
};

// A named group, resolved to its numbers when parsed; with duplicate names the first group
// that took part in the match gives the text.
class CyNamedBackreference : public CyReplaceWithPart {
 public:
  CyNamedBackreference(std::u16string Name, std::vector<int32_t> Numbers)
      : Name_(std::move(Name)), Numbers_(std::move(Numbers)) {}
  void Translate(const TyRegExprMatch& Match, CyFIFOUTF16& Out) const override;
  // The name as written, and the numbers of the groups that carry it (at least one).
  const std::u16string& getName() const { return Name_; }
  const std::vector<int32_t>& getNumbers() const { return Numbers_; }

 private:
  std::u16string Name_;
  std::vector<int32_t> Numbers_;
};

class CyRegExprReplaceWithParts {
 public:
  // Parses Template, checking every reference against Searcher's groups; Newline is what "\n",
  // "\r" and "\R" insert. Raises ReplaceWithException ("Incomplete token.", "Syntax error: %s.",
  // "Subpattern does not exist: %s.") with the position of the faulty token. O(length).
  CyRegExprReplaceWithParts(std::u16string_view Template, const CyRegExprSearcher& Searcher,
                            std::u16string_view Newline);

  // The replacement text for Match: the parts' texts in order.
  std::u16string Translate(const TyRegExprMatch& Match) const;
  // The same, appended to Out (the replace pass's form; allocates nothing of its own).
  void Translate(const TyRegExprMatch& Match, CyFIFOUTF16& Out) const;

  // The parts in template order.
  const std::vector<std::unique_ptr<CyReplaceWithPart>>& getParts() const { return Parts_; }

 private:
  void Parse(std::u16string_view Template, const CyRegExprSearcher& Searcher,
             std::u16string_view Newline);

  std::vector<std::unique_ptr<CyReplaceWithPart>> Parts_;
};

}  // namespace xylem
