#include "cli/Output.hpp"

#include <cstdio>

#include "common/Exception.hpp"

namespace xylem::cli {

bool WriteResult(const TyInputFile& Input, std::u16string_view Text, bool InPlace, bool ToStdout) {
  TxTextList result;
  result.LoadFromText__PARALLEL__(Text);
  return WriteResult(Input, result, InPlace, ToStdout);
}

bool WriteResult(const TyInputFile& Input, const TxTextList& result, bool InPlace, bool ToStdout) {
  try {
    if (InPlace && Input.Path != "-") SaveTextFile(Input.Path, result, Input.Format);
    if (ToStdout) {
      const std::string bytes = EncodeTextList(result, Input.Format);
      std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    }
    return true;
  } catch (const CyException& error) {
    std::fprintf(stderr, "xylem: %s: %s\n", Input.DisplayName.c_str(), OneLine(error.what()).c_str());
    return false;
  }
}

}  // namespace xylem::cli
