#include "cli/JSONInput.hpp"

#include <sys/stat.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>

#include "common/Exception.hpp"
#include "text/ByteOrderMark.hpp"
#include "text/EncodingDetector.hpp"
#include "text/InputStream.hpp"

namespace xylem::cli {

namespace {

// The mark, as the JSON decoder reads it: UTF-16 by its mark, UTF-8 otherwise.
TyTextFileFormat FormatByMark(const std::string& Path) {
  uint8_t head[3] = {0, 0, 0};
  std::ifstream file(Path, std::ios::binary);
  file.read(reinterpret_cast<char*>(head), sizeof(head));
  CyRewindableInputStream stream(head, static_cast<size_t>(file.gcount()));
  std::string mark;
  CyBOMDetector::RewindAndSkipBOM(stream, mark);
  TyTextFileFormat format;
  format.HasBOM = !mark.empty();
  if (mark == "UTF-16LE") format.Encoding = CyEncoding::UTF16LE();
  if (mark == "UTF-16BE") format.Encoding = CyEncoding::UTF16BE();
  return format;
}

}  // namespace

std::unique_ptr<TyInputFile> LoadJSONOrInputFile(const std::string& Path, const TyJobContext& Job,
                                                 std::optional<CyDecodeException>* Refused) {
  struct stat info {};
  // A pipe can be read only once: it goes to the text model, which reads it as a stream.
  if (Path == "-" || !CyFiletypeByFileExt::IsJSON(Path) || stat(Path.c_str(), &info) != 0 ||
      !S_ISREG(info.st_mode))
    return LoadInputFile(Path, Job, Refused);
  const auto start = std::chrono::steady_clock::now();
  std::shared_ptr<const CyJSONMemory> memory;
  try {
    memory = std::make_shared<const CyJSONMemory>(CyJSONMemory::FromFile(Path, Job));
  } catch (const CyCancelledException&) {
    throw;
  } catch (const CyException&) {
    // Unreadable, changed meanwhile or not clean Unicode: the text model says why.
    return LoadInputFile(Path, Job, Refused);
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

bool RefusedAsBinary(const TyInputFile& Input, std::optional<CyDecodeException>* Refused) {
  if (!Input.JSON) return false;
  const std::u16string_view text(Input.JSON->Data(), Input.JSON->DataCount());
  if (text.find(u'\0') == std::u16string_view::npos) return false;
  return LoadInputFile(Input.Path, JobFor(nullptr), Refused) == nullptr;  // the loader's refusal
}

std::shared_ptr<const CyJSONMemory> JSONMemoryOf(const TyInputFile& Input) {
  if (Input.JSON) return Input.JSON;
  const TxTextItems& items = Input.List.getTextItems();
  const int64_t count = Input.List.getCount();
  const size_t total = items.getJoinedLength(Input.Format.Newline, 1, count);
  auto buffer = std::make_unique_for_overwrite<char16_t[]>(total + 1);
  *items.JoinInto(Input.Format.Newline, 1, count, buffer.get()) = 0;
  return std::make_shared<const CyJSONMemory>(CyJSONMemory::Adopt(std::move(buffer), total));
}

bool EndsWithLineEnd(const TyInputFile& Input) {
  if (Input.JSON) {
    const size_t count = Input.JSON->DataCount();
    return count > 0 &&
           (Input.JSON->Data()[count - 1] == u'\n' || Input.JSON->Data()[count - 1] == u'\r');
  }
  const int64_t count = Input.List.getCount();
  return count > 1 && Input.List.getLine(count).empty();
}

}  // namespace xylem::cli
