#pragma once
// The XML declaration as a well-formedness rule (production [23] XMLDecl and its parts): the
// load only reads the declared encoding and forgives a malformed declaration, so the check
// reports it with its position. Internal to CyXMLWellFormed.

#include "text/TextList.hpp"
#include "xml/check/WellFormedPiece.hpp"

namespace xylem::wellformed {

struct TyXMLDeclInfo {
  bool Present = false;     // the document begins with an XML declaration
  bool Standalone = false;  // it says standalone="yes"
};

// Checks the declaration that begins the document ("<?xml" then white space or "?>"), if any,
// and adds the first rule it breaks to Findings, with the messages of the load's declaration
// grammar. Its pseudo-attributes come in the order version, encoding, standalone, in lower
// case; a version is "1." and digits; an encoding name a letter and then letters, digits,
// '.', '_' or '-'; standalone "yes" or "no". Reads at most the declaration's characters.
TyXMLDeclInfo CheckXMLDeclaration(const TxTextList& List, CyFindings& Findings);

// True when Text (a line's start) begins an XML declaration rather than a processing
// instruction whose target only begins with "xml".
bool BeginsXMLDeclaration(std::u16string_view Text);

}  // namespace xylem::wellformed
