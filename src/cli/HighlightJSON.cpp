#include "cli/HighlightJSON.hpp"

#include <cstdio>
#include <string>
#include <vector>

#include "cli/Command.hpp"
#include "cli/HighlightRenderer.hpp"
#include "common/Utf.hpp"
#include "json/Coloring.hpp"

namespace xylem::cli {

int HighlightJSON(const TyInputFile& Input, bool Html, bool Dark, const TyJobContext& Job) {
  // Joined with "\n": the output's line ends, and the scanner then counts the list's lines.
  // A string's buffer ends with the 0 that the scanner needs, so it is scanned in place.
  const std::u16string text = Input.List.getTextItems().getJoined(u"\n", 1, Input.List.getCount());
  const CyJSONColoring scheme =
      Dark ? CyJSONColoring::DefaultDark() : CyJSONColoring::DefaultLight();
  std::vector<TyHighlightStyle> styles;
  AppendHighlightStyles(styles, "json", scheme);
  CyHighlightRenderer renderer(std::move(styles), Html, Dark, stdout);
  renderer.Begin(Input.DisplayName);

  constexpr size_t kProgressStep = size_t{1} << 16;
  Job.Begin("Highlighting", text.size());
  const char16_t* reported = text.data();
  CyJSONTokenColoring coloring(text.data(), text.size());
  while (coloring.Next()) {
    const auto style = static_cast<size_t>(coloring.Category());
    // Only white space and the plain rest after an error hold line breaks.
    const char16_t* at = coloring.Head();
    for (const char16_t* p = at; p < coloring.Tail(); ++p) {
      if (*p != u'\n') continue;
      renderer.Append(style, at, static_cast<size_t>(p - at));
      renderer.EndLine();
      at = p + 1;
    }
    renderer.Append(style, at, static_cast<size_t>(coloring.Tail() - at));
    if (static_cast<size_t>(coloring.Tail() - reported) >= kProgressStep) {
      Job.Advance(static_cast<uint64_t>(coloring.Tail() - reported));
      reported = coloring.Tail();
    }
  }
  renderer.EndLine();
  renderer.Finish();
  if (const auto& error = coloring.Error()) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s:%lld:%lld: error: %s\n", Input.DisplayName.c_str(),
                 static_cast<long long>(error->Line), static_cast<long long>(error->Linepos),
                 error->what());
  }
  return kExitOK;
}

}  // namespace xylem::cli
