#include "cli/Output.hpp"

#include <unistd.h>

#include <cstdio>

#include "common/Exception.hpp"

namespace xylem::cli {

bool WriteStreamed(const TyInputFile& Input, bool InPlace,
                   const std::function<void(CyTextFileWriter&)>& Produce, TyInPlaceWrite Mode) {
  try {
    if (InPlace && Input.Path != "-") {
      CyTextFileWriter out(Input.Path, Input.Format, Mode);
      Produce(out);
      out.Commit();
    } else {
      std::fflush(stdout);  // what the command printed before comes first
      CyTextFileWriter out(STDOUT_FILENO, "standard output", Input.Format);
      Produce(out);
      out.Commit();
    }
    return true;
  } catch (const CyException& error) {
    if (error.getCode() != kErrorFileWrite && error.getCode() != kErrorUnrepresentable) throw;
    std::fprintf(stderr, "xylem: %s: %s\n", Input.DisplayName.c_str(),
                 OneLine(error.what()).c_str());
    return false;
  }
}

bool WriteResult(const TyInputFile& Input, std::u16string_view Text, bool InPlace, bool ToStdout,
                 TyInPlaceWrite Mode) {
  TxTextList result;
  result.LoadFromText__PARALLEL__(Text);
  return WriteResult(Input, result, InPlace, ToStdout, Mode);
}

bool WriteResult(const TyInputFile& Input, const TxTextList& Result, bool InPlace, bool ToStdout,
                 TyInPlaceWrite Mode) {
  if (!InPlace && !ToStdout) return true;
  return WriteStreamed(
      Input, InPlace, [&Result](CyTextFileWriter& Out) { PutTextList(Result, Out); }, Mode);
}

}  // namespace xylem::cli
