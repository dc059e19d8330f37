#pragma once
// Helpers of the language server tests: applying LSP edits to plain strings, the model that
// the server's answers are checked against.

#include <string>
#include <vector>

#include "lsp/Protocol.hpp"

namespace xylem::lsp::test {

// Offset of an LSP position in Text, whose lines end in "\n" or "\r\n".
size_t OffsetOf(const std::u16string& Text, const json& Position);
// Applies LSP TextEdits (non-overlapping, any order) to Text.
std::u16string ApplyTextEdits(std::u16string Text, const json& Edits);
// Applies a semantic tokens delta's edits to Data.
void ApplyTokenEdits(std::vector<uint32_t>& Data, const json& Edits);

}  // namespace xylem::lsp::test
