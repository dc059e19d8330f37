#pragma once
// Folding ranges: every fold range of the document (XML constructs and elements over several
// lines, JSON objects and arrays), with no cap of our own.

#include <optional>

#include "lsp/Protocol.hpp"

namespace xylem::lsp {

// `textDocument/foldingRange`: ranges ordered by start line, outer before inner; comments as
// kind "comment", everything else "region". With RangeLimit, the first RangeLimit of that
// order are kept (outer ranges survive). Linear in the text.
json FoldingRanges(const CyDocumentView& Document, std::optional<int64_t> RangeLimit);

}  // namespace xylem::lsp
