#pragma once
// Where the benchmark corpora live. They are made by bench/make_corpus.sh from the shared
// deterministic generator; XYLEM_CORPUS names the folder (default: corpus/ beside the build).

#include <string>

namespace xylem::bench {

// Full path of a corpus file such as "big.xml"; aborts the benchmark run with a clear message
// when the file is missing.
std::string CorpusFile(const std::string& name);

// The whole file's bytes.
std::string ReadFileBytes(const std::string& path);

}  // namespace xylem::bench
