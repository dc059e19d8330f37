// Runs a libFuzzer target without libFuzzer: replays every file of the corpus folders named on
// the command line, then feeds inputs mutated from them (or random ones) until
// -max_total_time=SECONDS has passed. Deterministic for a given corpus and time budget's count.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using Input = std::vector<uint8_t>;

void collect(const std::filesystem::path& path, std::vector<Input>& corpus) {
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(path, ec))
      if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const auto& file : files) collect(file, corpus);
  } else if (std::filesystem::is_regular_file(path, ec)) {
    std::ifstream in(path, std::ios::binary);
    corpus.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
}

// Byte-level mutations in the spirit of libFuzzer's: flips, inserts, erases, copies of a
// stretch, splices with another input, and insertion of "interesting" markup bytes.
Input mutate(const std::vector<Input>& corpus, std::mt19937_64& rng) {
  Input out = corpus.empty() ? Input{} : corpus[rng() % corpus.size()];
  static const char* tokens[] = {"<",
                                 ">",
                                 "/",
                                 "&",
                                 ";",
                                 "\"",
                                 "'",
                                 "[",
                                 "]",
                                 "{",
                                 "}",
                                 ",",
                                 ":",
                                 "\r",
                                 "\n",
                                 "\r\n",
                                 "<!--",
                                 "-->",
                                 "<![CDATA[",
                                 "]]>",
                                 "<?",
                                 "?>",
                                 "<!DOCTYPE",
                                 "\\",
                                 "$1",
                                 "\\u",
                                 "(",
                                 ")",
                                 "\xEF\xBB\xBF",
                                 "\xFF\xFE",
                                 "\0"};
  const int rounds = 1 + static_cast<int>(rng() % 8);
  for (int r = 0; r < rounds; ++r) {
    const size_t pos = out.empty() ? 0 : rng() % (out.size() + 1);
    switch (rng() % 7) {
      case 0:
        if (!out.empty()) out[pos % out.size()] ^= static_cast<uint8_t>(1u << (rng() % 8));
        break;
      case 1:
        out.insert(out.begin() + pos, static_cast<uint8_t>(rng()));
        break;
      case 2:
        if (!out.empty()) {
          const size_t at = pos % out.size();
          out.erase(out.begin() + at, out.begin() + std::min(out.size(), at + 1 + rng() % 8));
        }
        break;
      case 3: {
        const char* t = tokens[rng() % std::size(tokens)];
        const size_t n = t[0] == 0 ? 1 : std::strlen(t);
        out.insert(out.begin() + pos, t, t + n);
        break;
      }
      case 4:
        if (!out.empty()) {
          const size_t from = rng() % out.size();
          const size_t n = std::min<size_t>(out.size() - from, 1 + rng() % 32);
          Input piece(out.begin() + from, out.begin() + from + n);
          out.insert(out.begin() + pos, piece.begin(), piece.end());
        }
        break;
      case 5:
        if (!corpus.empty()) {
          const Input& other = corpus[rng() % corpus.size()];
          if (!other.empty()) {
            const size_t from = rng() % other.size();
            const size_t n = std::min<size_t>(other.size() - from, 1 + rng() % 64);
            out.insert(out.begin() + pos, other.begin() + from, other.begin() + from + n);
          }
        }
        break;
      default:
        for (int i = 0, n = 1 + static_cast<int>(rng() % 16); i < n; ++i)
          out.insert(out.begin() + pos, static_cast<uint8_t>(rng()));
        break;
    }
    if (out.size() > 4096) out.resize(4096);
  }
  return out;
}

}  // namespace

int main(int argc, char** argv) {
  double seconds = 5;
  std::vector<Input> corpus;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "-max_total_time=", 16) == 0)
      seconds = std::atof(argv[i] + 16);
    else if (argv[i][0] != '-')
      collect(argv[i], corpus);
  }
  for (const Input& input : corpus) LLVMFuzzerTestOneInput(input.data(), input.size());

  std::mt19937_64 rng(0x5EEDF00D);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  long runs = 0;
  while (std::chrono::steady_clock::now() < deadline) {
    for (int i = 0; i < 64; ++i, ++runs) {
      const Input input = mutate(corpus, rng);
      LLVMFuzzerTestOneInput(input.data(), input.size());
    }
  }
  std::printf("%zu corpus inputs replayed, %ld mutated inputs run\n", corpus.size(), runs);
  return 0;
}
