#include "cli/JSONInput.hpp"

#include <chrono>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>

#include "common/Exception.hpp"
#include "text/EncodingDetector.hpp"

namespace xylem::cli {

namespace {

// The mark, as the JSON decoder reads it: UTF-16 by its mark, UTF-8 otherwise.
TyTextFileFormat FormatByMark(const std::string& Path) {
  unsigned char head[3] = {0, 0, 0};
  std::ifstream(Path, std::ios::binary).read(reinterpret_cast<char*>(head), 3);
  TyTextFileFormat format;
  if (head[0] == 0xFF && head[1] == 0xFE) {
    format.Encoding = CyEncoding::UTF16LE();
    format.HasBOM = true;
  } else if (head[0] == 0xFE && head[1] == 0xFF) {
    format.Encoding = CyEncoding::UTF16BE();
    format.HasBOM = true;
  } else {
    format.HasBOM = head[0] == 0xEF && head[1] == 0xBB && head[2] == 0xBF;
  }
  return format;
}

// The first line end of Text, or CR LF (what a new document gets) when it has none.
std::u16string FirstNewline(std::u16string_view Text) {
  const size_t at = Text.find_first_of(u"\r\n");
  if (at == std::u16string_view::npos) return u"\r\n";
  if (Text[at] == u'\n') return u"\n";
  return at + 1 < Text.size() && Text[at + 1] == u'\n' ? u"\r\n" : u"\r";
}

}  // namespace

std::unique_ptr<TyInputFile> LoadJSONOrInputFile(const std::string& Path) {
  if (Path == "-" || !CyFiletypeByFileExt::IsJSON(Path)) return LoadInputFile(Path);
  const auto start = std::chrono::steady_clock::now();
  std::shared_ptr<const CyJSONMemory> memory;
  try {
    memory = std::make_shared<const CyJSONMemory>(CyJSONMemory::FromFile(Path));
  } catch (const CyException&) {
    return LoadInputFile(Path);  // unreadable or not clean Unicode: the text model says why
  }
  const std::u16string_view text(memory->Data(), memory->DataCount());
  auto input = std::make_unique<TyInputFile>();
  input->Path = Path;
  input->DisplayName = Path;
  input->Format = FormatByMark(Path);
  input->Format.Newline = FirstNewline(text);
  input->JSON = std::move(memory);
  input->LoadSeconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return input;
}

bool RefusedAsBinary(const TyInputFile& Input) {
  if (!Input.JSON) return false;
  const std::u16string_view text(Input.JSON->Data(), Input.JSON->DataCount());
  if (text.find(u'\0') == std::u16string_view::npos) return false;
  return LoadInputFile(Input.Path) == nullptr;  // prints the loader's message
}

std::shared_ptr<const CyJSONMemory> JSONMemoryOf(const TyInputFile& Input) {
  if (Input.JSON) return Input.JSON;
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
  return std::make_shared<const CyJSONMemory>(CyJSONMemory::Adopt(std::move(buffer), total));
}

bool EndsWithLineEnd(const TyInputFile& Input) {
  if (Input.JSON) {
    const size_t count = Input.JSON->DataCount();
    return count > 0 && (Input.JSON->Data()[count - 1] == u'\n' || Input.JSON->Data()[count - 1] == u'\r');
  }
  const int64_t count = Input.List.getCount();
  return count > 1 && Input.List.getLine(count).empty();
}

}  // namespace xylem::cli
