#pragma once
// Display text for an error of the platform XML parser. Immutable; share it with
// std::shared_ptr<const CyXMLError> between threads.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "diag/ErrLocation.hpp"

namespace xylem {

class CyXMLError {
 public:
  // The parser's code when it gave none (all bits set).
  static constexpr int32_t kNoReasonCode = -1;

  CyXMLError(std::u16string URL, int32_t Line, int32_t Linepos, std::u16string Reason,
             int32_t ReasonCode, IyXMLAddressWithTextPtr XMLAddressWithText = nullptr,
             std::u16string XPath = {},
             std::vector<std::shared_ptr<const CyXMLError>> MSXMLErrors = {});

  const std::u16string& getURL() const { return URL_; }
  // 1-based; zero or less when the parser knows no line.
  int32_t getLine() const { return Line_; }
  // 1-based; zero or less when the parser knows no position.
  int32_t getLinepos() const { return Linepos_; }
  const std::u16string& getReason() const { return Reason_; }
  int32_t getReasonCode() const { return ReasonCode_; }
  const IyXMLAddressWithTextPtr& getXMLAddressWithText() const { return Address_; }
  const std::u16string& getXPath() const { return XPath_; }
  // The nested errors as the platform parser returned them.
  const std::vector<std::shared_ptr<const CyXMLError>>& getMSXMLErrors() const { return Nested_; }

  // "Line L Column C" and CR LF when both are above zero, then "0x%.8X - " when there is a
  // code, then the reason. Allocates.
  std::u16string ShortDisplayMessage() const;
  // Every known item as "Label: value" on its own line (CR LF between lines), followed by each
  // nested error under an "Error N:" line, its items indented one more tab. Allocates.
  std::u16string LongDisplayMessage() const;

 private:
  void AppendLong(std::u16string& Text, int Depth) const;

  std::u16string URL_;
  int32_t Line_;
  int32_t Linepos_;
  std::u16string Reason_;
  int32_t ReasonCode_;
  IyXMLAddressWithTextPtr Address_;
  std::u16string XPath_;
  std::vector<std::shared_ptr<const CyXMLError>> Nested_;
};

}  // namespace xylem
