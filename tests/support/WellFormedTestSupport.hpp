#pragma once
// Helpers shared by the well-formedness and folding tests: a text list with stored line states
// made from a UTF-8 document, and libxml2's verdict on the same document.

#include <memory>
#include <string>

#include "text/TextList.hpp"

namespace xylem::test {

// The document as a text list whose line start states are stored by the sequential scan.
std::unique_ptr<TxTextList> LinesWithStates(const std::string& Utf8);

struct TyLibXml2Verdict {
  bool WellFormed = true;
  int FirstErrorLine = 0;  // line of libxml2's first fatal error; 0 when well-formed
};

// libxml2's well-formedness verdict: xmlCtxtReadMemory with XML_PARSE_NONET, no external DTD
// loaded; namespace and validity findings do not count.
TyLibXml2Verdict LibXml2Verdict(const std::string& Utf8);

}  // namespace xylem::test
