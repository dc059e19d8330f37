#pragma once
// A generated XML document of uniform item lines, for the benchmarks that need a size the
// shared corpora do not have (a 1 GiB file, a 2,000-line one): deterministic, about 110 bytes
// a line (a full screen of 120 columns), each line one element with attributes, text, an entity
// reference and a common word.

#include <cstdint>
#include <string>

namespace xylem::bench {

// Item line I, ending in "\n".
std::string ItemLine(uint64_t I);
// Writes "<root>", item lines until the file holds about Bytes bytes, and "</root>" to the file
// Name in $TMPDIR (default /tmp), returns its path.
std::string MakeItemDocument(uint64_t Bytes, const std::string& Name);
// XYLEM_BENCH_MIB in bytes, else Default MiB.
uint64_t BenchBytes(uint64_t DefaultMiB);

}  // namespace xylem::bench
