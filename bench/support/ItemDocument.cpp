#include "support/ItemDocument.hpp"

#include <cstdlib>
#include <fstream>

namespace xylem::bench {

std::string ItemLine(uint64_t I) {
  static const char* const kWords[] = {"alpha", "beta", "gamma", "delta", "common", "kappa"};
  std::string line =
      "  <item id=\"" + std::to_string(I) + "\" kind=\"" + kWords[I % 6] + "\" state=\"open\">";
  line += kWords[(I * 7) % 6];
  line += " text of the line &amp; a common word with more text ";
  line += kWords[(I * 3) % 6];
  line += "</item>\n";
  return line;
}

std::string MakeItemDocument(uint64_t Bytes, const std::string& Name) {
  const char* tmp = std::getenv("TMPDIR");
  const std::string path = std::string(tmp ? tmp : "/tmp") + "/" + Name;
  std::ofstream out(path, std::ios::binary);
  out << "<root>\n";
  std::string chunk;
  uint64_t written = 7;
  for (uint64_t i = 0; written + chunk.size() < Bytes; ++i) {
    chunk += ItemLine(i);
    if (chunk.size() > (1 << 20)) {
      out << chunk;
      written += chunk.size();
      chunk.clear();
    }
  }
  out << chunk << "</root>\n";
  return path;
}

uint64_t BenchBytes(uint64_t DefaultMiB) {
  const char* mib = std::getenv("XYLEM_BENCH_MIB");
  return (mib ? static_cast<uint64_t>(std::atoll(mib)) : DefaultMiB) << 20;
}

}  // namespace xylem::bench
