#include "cli/JSONInput.hpp"

#include <cstring>
#include <memory>

namespace xylem::cli {

CyJSONMemory JSONMemoryOf(const TyInputFile& Input) {
  const TxTextList& list = Input.List;
  const std::u16string_view newline = Input.Format.Newline;
  const int64_t count = list.getCount();
  size_t total = 0;
  for (int64_t line = 1; line <= count; ++line) total += list.getLine(line).size();
  if (count > 1) total += static_cast<size_t>(count - 1) * newline.size();
  auto buffer = std::make_unique_for_overwrite<char16_t[]>(total + 1);
  char16_t* at = buffer.get();
  for (int64_t line = 1; line <= count; ++line) {
    if (line > 1) at = std::copy(newline.begin(), newline.end(), at);
    const std::u16string_view text = list.getLine(line);
    std::memcpy(at, text.data(), text.size() * sizeof(char16_t));
    at += text.size();
  }
  *at = 0;
  return CyJSONMemory::Adopt(std::move(buffer), total);
}

}  // namespace xylem::cli
