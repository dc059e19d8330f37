// xylem highlight: the document painted by the editor's XML coloring (JSON by token kind), as a
// self-contained HTML page or with terminal colors.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/Command.hpp"
#include "cli/HighlightJSON.hpp"
#include "cli/HighlightRenderer.hpp"
#include "cli/InputFile.hpp"
#include "cli/ProgressBar.hpp"
#include "services/DocumentKind.hpp"
#include "xml/lines/Coloring.hpp"
#include "xml/lines/LineColoring.hpp"
#include "xpath/EmbeddedColoring.hpp"
#include "xpath/EmbeddedColoringScheme.hpp"
#include "xslt/XSLTLineColoring.hpp"

namespace xylem::cli {

namespace {

struct TyHighlightArgs {
  std::string Path;
  bool Html = false;
  bool Ansi = false;
  std::string Theme = "light";
};

// The current token, in pieces by the embedded XPath items that overlap it where it has some.
void appendToken(CyHighlightRenderer& Renderer, const CyXMLLineColoring& Coloring, int64_t Line) {
  const char16_t* text = Coloring.ItemText();
  const int64_t from = Coloring.ItemLinepos(), to = from + Coloring.ItemTextCount();
  auto* xpath = dynamic_cast<CyXPathEmbeddedLineColoring*>(Coloring.getEmbedded());
  int64_t at = from;
  if (xpath) {
    for (xpath->First(Line); !xpath->IsDone() && at < to; xpath->Next()) {
      const int64_t end = std::min(to, xpath->ItemLinepos() + xpath->ItemTextCount());
      if (end <= at) continue;
      if (xpath->ItemLinepos() > at)  // a gap the value's items leave (none expected)
        Renderer.Append(static_cast<size_t>(Coloring.ItemCategory()), text + (at - from),
                        static_cast<size_t>(xpath->ItemLinepos() - at));
      at = std::max(at, xpath->ItemLinepos());
      Renderer.Append(kXMLColoringCategoryCount + static_cast<size_t>(xpath->ItemCategory()),
                      text + (at - from), static_cast<size_t>(end - at));
      at = end;
    }
  }
  if (at < to)
    Renderer.Append(static_cast<size_t>(Coloring.ItemCategory()), text + (at - from),
                    static_cast<size_t>(to - at));
}

int runHighlight(const TyHighlightArgs& Args) {
  CyProgressBar bar(Args.Path);
  const TyJobContext job = JobFor(&bar);
  std::unique_ptr<TyInputFile> input = LoadInputFile(Args.Path, job);
  if (!input) return kExitUsage;
  const bool dark = Args.Theme == "dark";
  const bool html = Args.Html || (!Args.Ansi && !isatty(STDOUT_FILENO));
  // The bar and the colored text must not share a terminal line.
  if (isatty(STDOUT_FILENO)) bar.Stop();
  const TyDocumentKind kind = DetectDocumentKind(Args.Path, input->List);
  if (kind == TyDocumentKind::dkJSON) return HighlightJSON(*input, html, dark, job);
  const CyXMLColoring scheme = dark ? CyXMLColoring::DefaultDark() : CyXMLColoring::DefaultLight();
  const CyXPathColoring xpathScheme =
      dark ? CyXPathColoring::DefaultDark() : CyXPathColoring::DefaultLight();
  TxTextItems& items = input->List.getTextItems();
  // In a stylesheet the values that hold XPath are colored by XPath token class.
  std::unique_ptr<CyXMLLineColoring> xslt;
  if (kind == TyDocumentKind::dkXSLT)
    xslt = std::make_unique<CyXSLTLineColoring>(items, scheme, xpathScheme);
  CyXMLLineColoring plain(items, scheme);
  CyXMLLineColoring& coloring = xslt ? *xslt : plain;
  int64_t totalDelta = 0;
  coloring.UpdateAllLines__PARALLEL__(totalDelta, job);

  // XPath categories follow the XML ones: style kXMLColoringCategoryCount + category.
  std::vector<TyHighlightStyle> styles;
  AppendHighlightStyles(styles, "xml", scheme);
  AppendHighlightStyles(styles, "xpath", xpathScheme);
  CyHighlightRenderer renderer(std::move(styles), html, dark, stdout);
  renderer.Begin(input->DisplayName);
  for (int64_t line = 1; line <= input->List.getCount(); ++line) {
    for (coloring.FirstLine(line); !coloring.IsDone(); coloring.Next()) {
      if (coloring.ItemTextCount() == 0) continue;  // missing tokens have nothing to paint
      appendToken(renderer, coloring, line);
    }
    renderer.EndLine();
  }
  renderer.Finish();
  return kExitOK;
}

}  // namespace

void AddHighlightCommand(CLI::App& App, TyCommandRun& Run) {
  auto args = std::make_shared<TyHighlightArgs>();
  CLI::App* command = App.add_subcommand(
      "highlight",
      "Print an XML document colored by the editor's XML coloring, or a JSON document colored "
      "by token kind (kind by extension, then by content); in an XSLT stylesheet, the XPath in "
      "attribute values is colored by token class: a self-contained HTML page whose CSS classes "
      "are named after the coloring categories (xml-start-tag-marker, xpath-name-test, json-key, "
      "...), "
      "or terminal colors (the default when stdout is a terminal).");
  command->add_option("FILE", args->Path, "XML or JSON file (- for standard input)")->required();
  auto* html = command->add_flag("--html", args->Html, "Write an HTML page");
  command->add_flag("--ansi", args->Ansi, "Write terminal color escapes")->excludes(html);
  command->add_option("--theme", args->Theme, "Color scheme: light (default) or dark")
      ->check(CLI::IsMember({"light", "dark"}));
  command->callback([&Run, args] { Run = [args] { return runHighlight(*args); }; });
}

}  // namespace xylem::cli
