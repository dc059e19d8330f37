#pragma once
// What kind of document a file holds, decided by its extension first and by its content when
// the extension says nothing.

#include <string_view>

#include "text/TextList.hpp"

namespace xylem {

enum class TyDocumentKind { dkXML, dkXSLT, dkDTD, dkJSON, dkText };

TyDocumentKind DetectDocumentKind(std::string_view Path, const TxTextList& List);

const char* DocumentKindName(TyDocumentKind Kind);

// True for the kinds whose lines keep the XML tokenizer's states: every kind but JSON and
// plain text.
inline bool KeepsXMLLineStates(TyDocumentKind Kind) {
  return Kind != TyDocumentKind::dkJSON && Kind != TyDocumentKind::dkText;
}

}  // namespace xylem
