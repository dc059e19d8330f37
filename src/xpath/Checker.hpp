#pragma once
// The XPath checker: runs the parser as a syntax check and turns a failure into an error record
// placed on the failing token in the document, also when the expression spans several lines of
// an attribute value.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "diag/ErrRecord.hpp"
#include "xpath/Parser.hpp"

namespace xylem {

class TxTextList;

// A failed check, relative to the expression: what the parser said and where.
struct TyXPath31CheckError {
  std::u16string Message;  // one of the parser's four messages or the scanner's message
  int32_t TokenStart = 0;  // 0-based index of the failing token's first character
  int32_t TokenEnd = 0;    // 0-based index of the failing token's last character (>= TokenStart)
  std::vector<std::u16string> Expected;  // what would have been accepted there, ascending kinds
};

// Where an expression sits in its document: turns an index in the expression into a line and
// position there.
class IyXPath31Placement {
 public:
  virtual ~IyXPath31Placement() = default;
  // Document of the error records; empty for the edited document itself.
  virtual const std::u16string& getURL() const = 0;
  // 1-based line and position in the document of the expression's character at Index (0-based;
  // Index equal to the expression's length is the position just behind it).
  virtual void Place(int32_t Index, int32_t& Line, int32_t& Linepos) const = 0;
};

// Placement over the document's lines: the expression starts at (Line, Linepos) and continues
// over the following lines, each line break counted as two characters (carriage return and line
// feed, as attribute text is measured). Keeps a reference to Lines; O(lines spanned) per call.
class CyXPath31LineListPlacement final : public IyXPath31Placement {
 public:
  CyXPath31LineListPlacement(const TxTextList& Lines, std::u16string URL, int32_t Line,
                             int32_t Linepos)
      : Lines_(Lines), URL_(std::move(URL)), Line_(Line), Linepos_(Linepos) {}
  const std::u16string& getURL() const override { return URL_; }
  void Place(int32_t Index, int32_t& Line, int32_t& Linepos) const override;

 private:
  const TxTextList& Lines_;
  std::u16string URL_;
  int32_t Line_, Linepos_;
};

// Placement over the text that holds the expression as written in the document (an attribute
// value between its quotes, or the expression itself), which starts at (Line, Linepos). Each of
// "\r\n", "\r" and "\n" in Raw ends a line. ExpandedToRaw (optional, size = expression length +
// 1) maps an expression index to the index in Raw it came from, for values whose references
// were expanded. Keeps views of Raw and ExpandedToRaw; O(index) per call.
class CyXPath31TextPlacement final : public IyXPath31Placement {
 public:
  CyXPath31TextPlacement(std::u16string URL, int32_t Line, int32_t Linepos, std::u16string_view Raw,
                         const std::vector<int32_t>* ExpandedToRaw = nullptr)
      : URL_(std::move(URL)), Line_(Line), Linepos_(Linepos), Raw_(Raw), Map_(ExpandedToRaw) {}
  const std::u16string& getURL() const override { return URL_; }
  void Place(int32_t Index, int32_t& Line, int32_t& Linepos) const override;

 private:
  std::u16string URL_;
  int32_t Line_, Linepos_;
  std::u16string_view Raw_;
  const std::vector<int32_t>* Map_;
};

// The producer named in the checker's own records.
const IyProcessorInfoPtr& XPath31CheckerProcessorInfo();

// Makes the record of Error placed by Placement (range from the failing token's first to its
// last character). With Incoming: its processor info, documentation reference, ID and severity
// are kept; without: the checker's own (ID "XPST0003", errError). The reason parameters are
// Error.Expected. Allocates.
IyXMLErrPtr MakeXPath31PlacedErr(const TyXPath31CheckError& Error,
                                 const IyXPath31Placement& Placement,
                                 const IyXMLErr* Incoming = nullptr);

// True when Text is empty or only spaces, tabs, carriage returns and line feeds.
bool IsXPath31Blank(std::u16string_view Text);

// One expression, one start rule, one parser (made without listener). Not copyable or movable
// (the parser points into the kept text); not thread-safe.
class CyXPath31Checker {
 public:
  // Create: keeps a copy of XPath31; Rule is a start rule the parser accepts (xprExpr,
  // xprSequenceType, xprItemType, xprPattern30, xprUnionExprP, xprAVT).
  CyXPath31Checker(std::u16string_view XPath31, TyXPath31ParserRule Rule);
  CyXPath31Checker(const CyXPath31Checker&) = delete;
  CyXPath31Checker& operator=(const CyXPath31Checker&) = delete;

  // Parses unless the text is blank (blank counts as valid). True when the text is a valid
  // instance of the start rule; otherwise false and getError() tells why and where. The parse
  // runs on the first call only. Never throws a syntax error.
  bool Check();
  // The error of the last failed Check (empty message when it passed or has not run).
  const TyXPath31CheckError& getError() const { return Error_; }
  // The parser's steps after Check (empty for blank text or before Check).
  const TyXPath31Steps& XPath31Steps() const;
  // The first step not consumed and the one before it (null for blank text or before Check).
  PyXPath31Step XPath31ErrorStep();
  PyXPath31Step XPath31LastStepBeforeError();
  // Incoming when the expression (starting at Line, Linepos of Lines) parses; otherwise a new
  // record on the failing token with the parser's message, the URL of Incoming's location and
  // Incoming's other fields.
  IyXMLErrPtr Improve(const TxTextList& Lines, const IyXMLErrPtr& Incoming, int32_t Line,
                      int32_t Linepos);
  const std::u16string& getXPath31() const { return XPath31_; }
  TyXPath31ParserRule getXPath31ParserRule() const { return Rule_; }

 private:
  std::u16string XPath31_;
  TyXPath31ParserRule Rule_;
  std::unique_ptr<CyXPath31Parser> Parser_;
  TyXPath31CheckError Error_;
  bool Checked_ = false;
  bool Valid_ = true;
};

}  // namespace xylem
