#pragma once
// The XPath 3.1 tokenizer: walks the scanner's tokens for the parser, decides in context whether
// a name is a keyword (XPath keywords are not reserved), and records each token as a step that
// the parser labels and that coloring and completion read.

#include <string>
#include <vector>

#include "xpath/Token.hpp"

namespace xylem {

using TyXPath31Steps = std::vector<TyXPath31Step>;

// One tokenizer per parse; not thread-safe. The text must outlive the tokenizer.
class CyXPath31Tokenizer {
 public:
  // Number of leading placeholder steps before the X_BOF step.
  static constexpr size_t kLeadingSteps = 3;

  // Scans XPath31 (NUL-terminated) at once, in attribute-value-template mode when AVT is set,
  // and prepares the steps: three placeholders, X_BOF, the tokens, X_EOF. A lexical error does
  // not throw: the tokens before it stay, an X_ERROR step covers the offending stretch and
  // getScannerError() keeps the scanner's message. Linear in the text.
  CyXPath31Tokenizer(const char16_t* XPath31, bool AVT);

  // Called by the parser as it consumes the current token: stores the label and class in the
  // step, advances, and decides the kinds of the names ahead (DisambiguateName). Raises
  // CyException when the current step is X_ERROR. O(1).
  void Next(TyXPath31Label RuleContext, TyXPath31TokenType XPath31TokenType) {
    if (Current->XPath31Token == X_ERROR) FailAtErrorStep();
    Current->RuleContext = RuleContext;
    Current->XPath31TokenType = XPath31TokenType;
    if (Current_ + 1 < Steps_.size()) Current = &Steps_[++Current_];
    DisambiguateName(RuleContext);
  }
  // Decides the kind of the current token (and of up to two after it) from the label of the
  // token just consumed; leaves tokens already decided by an earlier look-ahead (Skip) alone.
  void DisambiguateName(TyXPath31Label RuleContext);
  // Raises the general exception (CyException) with the given message.
  [[noreturn]] static void ERROR(const std::string& Text);

  // The current token is X_EOF.
  bool IsDone() const { return Current->XPath31Token == X_EOF; }
  PyXPath31Step PreviousPreviousPreviousStep() { return Current - 3; }
  PyXPath31Step PreviousPreviousStep() { return Current - 2; }
  PyXPath31Step PreviousStep() { return Current - 1; }
  PyXPath31Step CurrentStep() { return Current; }
  // The step after the current one; a trailing X_EOF placeholder past the end.
  PyXPath31Step NextStep() { return Ahead(1); }
  PyXPath31Step NextNextStep() { return Ahead(2); }
  // Step by index into XPath31Steps().
  PyXPath31Step Step(size_t Index) { return &Steps_[Index]; }
  // All steps, the three leading placeholders included.
  const TyXPath31Steps& XPath31Steps() const { return Steps_; }
  TyXPath31Steps& XPath31Steps() { return Steps_; }
  // Index of the current step in XPath31Steps().
  size_t CurrentIndex() const { return Current_; }

  // The scanner's message when scanning failed (empty otherwise), with the X_ERROR step's index.
  const std::string& getScannerError() const { return ScannerError_; }
  size_t getScannerErrorIndex() const { return ScannerErrorIndex_; }

 private:
  PyXPath31Step Ahead(size_t Distance) {
    size_t I = Current_ + Distance;
    return I < Steps_.size() ? &Steps_[I] : &Trailing_;
  }
  void DisambiguateNameToken(TyXPath31Label RuleContext);
  [[noreturn]] void FailAtErrorStep();

  TyXPath31Steps Steps_;
  TyXPath31Step Trailing_;
  size_t Current_ = kLeadingSteps;
  PyXPath31Step Current = nullptr;  // &Steps_[Current_]
  int Skip = 0;  // how many of the following tokens an earlier look-ahead already decided
  std::string ScannerError_;
  size_t ScannerErrorIndex_ = 0;
};

}  // namespace xylem
