#include "Corpus.hpp"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace xylem::bench {

std::string CorpusFile(const std::string& name) {
  const char* folder = std::getenv("XYLEM_CORPUS");
  const std::filesystem::path path = std::filesystem::path(folder ? folder : "corpus") / name;
  if (!std::filesystem::exists(path)) {
    std::fprintf(stderr, "corpus file %s is missing: run bench/make_corpus.sh first\n",
                 path.c_str());
    std::exit(2);
  }
  return path.string();
}

std::string ReadFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::string bytes(std::filesystem::file_size(path), '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<size_t>(in.gcount()));
  return bytes;
}

}  // namespace xylem::bench
