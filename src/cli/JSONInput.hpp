#pragma once
// JSON input for checking and formatting: the one NUL-terminated buffer the JSON scanner reads.

#include <memory>
#include <string>

#include "cli/InputFile.hpp"
#include "json/Memory.hpp"

namespace xylem::cli {

// Loads a regular ".json" file straight into JSON memory, without the text model's line
// records: Input.JSON holds the text, Format its mark and newline, List stays empty. Anything
// else (standard input, pipes), and bytes that are not clean UTF-8 (or UTF-16 with a mark), go
// through LoadInputFile, so that the text model's rules and messages apply; Job and Refused as
// there.
std::unique_ptr<TyInputFile> LoadJSONOrInputFile(
    const std::string& Path, const TyJobContext& Job = JobFor(nullptr),
    std::optional<CyDecodeException>* Refused = nullptr);

// For a JSON text that failed to parse: true when the text read straight from its file holds a
// NUL, after the text model's binary-file refusal was printed as LoadInputFile does (or stored
// in Refused). The text model refuses such files; the scan is left to the failure path, where
// it costs nothing.
bool RefusedAsBinary(const TyInputFile& Input, std::optional<CyDecodeException>* Refused = nullptr);

// The JSON text of Input: what LoadJSONOrInputFile read, or the lines joined with the newline.
std::shared_ptr<const CyJSONMemory> JSONMemoryOf(const TyInputFile& Input);

// Whether the text ends with a line end (formatting keeps it).
bool EndsWithLineEnd(const TyInputFile& Input);

}  // namespace xylem::cli
