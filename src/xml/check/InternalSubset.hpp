#pragma once
// The document type declaration as XML 1.0 writes it (production [28] doctypedecl): its name
// and external identifier, and every markup declaration of its internal subset (element type,
// attribute-list, entity and notation declarations, comments, processing instructions,
// parameter-entity references between declarations, whose internal replacement texts are read
// as declarations in turn). Conditional sections are refused there. Internal to
// CyXMLWellFormed.

#include <cstdint>

#include "text/TextList.hpp"
#include "xml/check/EntityRules.hpp"
#include "xml/check/WellFormedPiece.hpp"

namespace xylem::wellformed {

// Checks the declaration that begins at (Line, Pos) with "<!" and adds its first fault to
// Findings; Info receives the declared entities and what may declare more. Standalone: the
// XML declaration says standalone="yes". Sequential; linear in the declaration's length (and
// in the parameter entities' replacement texts it reads).
void CheckDoctype(const TxTextList& List, int64_t Line, int32_t Pos, bool Standalone,
                  TyDoctypeInfo& Info, CyFindings& Findings);

}  // namespace xylem::wellformed
