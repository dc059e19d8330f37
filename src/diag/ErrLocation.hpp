#pragma once
// Where an error is: document, line and position range, offset, and a structural address for
// processors that know the node but not its line. Immutable and shared between threads.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace xylem {

// One step of a structural address.
struct TyXMLAddressStep {
  std::u16string Name;  // element name; empty matches any element (and is ignored for text)
  int32_t Index = 1;    // 1-based position among the siblings this step matches
  bool IsText = false;  // the step selects a text node rather than an element
};

// Path of element steps from the root down to a node, the last step possibly a text node.
class IyXMLAddressWithText {
 public:
  virtual ~IyXMLAddressWithText() = default;
  // The steps, root first.
  virtual const std::vector<TyXMLAddressStep>& getSteps() const = 0;
  // XPath-like text of the address, as "/doc[1]/*[2]/text()[1]"; allocates.
  std::u16string ToString() const;
};
using IyXMLAddressWithTextPtr = std::shared_ptr<const IyXMLAddressWithText>;

class CyXMLAddressWithText final : public IyXMLAddressWithText {
 public:
  // Steps root first.
  explicit CyXMLAddressWithText(std::vector<TyXMLAddressStep> Steps) : Steps_(std::move(Steps)) {}
  const std::vector<TyXMLAddressStep>& getSteps() const override { return Steps_; }

 private:
  std::vector<TyXMLAddressStep> Steps_;
};

// A location. Numbers are 1-based and -1 when unknown (ends: -1 when there is no range).
class IyXMLLocation {
 public:
  virtual ~IyXMLLocation() = default;
  // Document the error is in; empty for the edited document itself.
  virtual const std::u16string& getURL() const = 0;
  // 1-based line, -1 when unknown.
  virtual int32_t getLine() const = 0;
  // 1-based position in the line (UTF-16 code units), -1 when unknown.
  virtual int32_t getLinepos() const = 0;
  // End line of the range the error covers, -1 when there is no range.
  virtual int32_t getLine2() const = 0;
  // End position of the range, -1 when there is no range.
  virtual int32_t getLinepos2() const = 0;
  // 0-based character offset in the document, -1 when unknown.
  virtual int32_t getOffset() const = 0;
  // Structural address of the node; null when not given.
  virtual const IyXMLAddressWithTextPtr& getXMLAddressWithText() const = 0;
  // XPath of the node as the reporting processor gave it; empty when not given.
  virtual const std::u16string& getXPath() const = 0;

  // Negative, zero or positive as this sorts before, with or after Other: URL (code-unit
  // order), then Line, then Linepos, all signed, so unknown lines (-1) come first.
  int CompareToObject(const IyXMLLocation& Other) const;
};
using IyXMLLocationPtr = std::shared_ptr<const IyXMLLocation>;

// The location record; getters as in IyXMLLocation.
class CyXMLLocation final : public IyXMLLocation {
 public:
  static constexpr int32_t kUnknown = -1;

  // Each constructor fills the fields it names; the others stay -1 or empty.
  CyXMLLocation();
  explicit CyXMLLocation(std::u16string URL);
  CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos);
  CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos, int32_t Offset);
  CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos, int32_t Line2, int32_t Linepos2);
  CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos, int32_t Line2, int32_t Linepos2,
                int32_t Offset);
  CyXMLLocation(std::u16string URL, IyXMLAddressWithTextPtr XMLAddressWithText);
  CyXMLLocation(std::u16string URL, std::u16string XPath);
  CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos,
                IyXMLAddressWithTextPtr XMLAddressWithText);
  CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos, std::u16string XPath);
  CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos, int32_t Line2, int32_t Linepos2,
                int32_t Offset, IyXMLAddressWithTextPtr XMLAddressWithText, std::u16string XPath);

  const std::u16string& getURL() const override { return URL_; }
  int32_t getLine() const override { return Line_; }
  int32_t getLinepos() const override { return Linepos_; }
  int32_t getLine2() const override { return Line2_; }
  int32_t getLinepos2() const override { return Linepos2_; }
  int32_t getOffset() const override { return Offset_; }
  const IyXMLAddressWithTextPtr& getXMLAddressWithText() const override { return Address_; }
  const std::u16string& getXPath() const override { return XPath_; }

 private:
  std::u16string URL_;
  int32_t Line_ = kUnknown;
  int32_t Linepos_ = kUnknown;
  int32_t Line2_ = kUnknown;
  int32_t Linepos2_ = kUnknown;
  int32_t Offset_ = kUnknown;
  IyXMLAddressWithTextPtr Address_;
  std::u16string XPath_;
};

}  // namespace xylem
