// xylem highlight: the document painted by the editor's XML coloring, as a self-contained HTML
// page or with terminal colors.
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "cli/Command.hpp"
#include "cli/DocumentKind.hpp"
#include "cli/InputFile.hpp"
#include "common/Utf.hpp"
#include "xml/LineColoring.hpp"

namespace xylem::cli {

namespace {

struct TyHighlightArgs {
  std::string Path;
  bool Html = false;
  bool Ansi = false;
  std::string Theme = "light";
};

// "Start-tag marker" -> "xml-start-tag-marker".
std::string cssClass(TyXMLColoringCategory Category) {
  std::string name = "xml-";
  for (char c : CyXMLColoring::getCategoryName(Category))
    name += c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return name;
}

std::string hexColor(uint32_t Color) {
  char text[8];
  std::snprintf(text, sizeof text, "#%06x", Color & 0xFFFFFF);
  return text;
}

void appendEscapedHtml(std::string& Out, std::u16string_view Text) {
  for (char c : ToUTF8(Text)) {
    switch (c) {
      case '<': Out += "&lt;"; break;
      case '>': Out += "&gt;"; break;
      case '&': Out += "&amp;"; break;
      default: Out += c;
    }
  }
}

std::string styleSheet(const CyXMLColoring& Scheme, bool Dark) {
  std::string css = Dark ? "body{background:#1e1e1e;color:#d4d4d4}" : "body{background:#fff;color:#000}";
  css += "pre{font-family:monospace}";
  for (size_t i = 0; i < kXMLColoringCategoryCount; ++i) {
    const auto category = static_cast<TyXMLColoringCategory>(i);
    const TyColorItem& item = Scheme.getItem(category);
    css += "." + cssClass(category) + "{";
    if (item.Foreground != kNoColor) css += "color:" + hexColor(item.Foreground) + ";";
    if (item.Background != kNoColor) css += "background:" + hexColor(item.Background) + ";";
    if (item.Styles & fsBold) css += "font-weight:bold;";
    if (item.Styles & fsItalic) css += "font-style:italic;";
    if (item.Styles & fsUnderline) css += "text-decoration:underline;";
    css += "}";
  }
  return css;
}

std::string ansiStart(const TyColorItem& Item) {
  std::string code = "\x1b[0";
  if (Item.Styles & fsBold) code += ";1";
  if (Item.Styles & fsItalic) code += ";3";
  if (Item.Styles & fsUnderline) code += ";4";
  auto rgb = [](uint32_t c) {
    return std::to_string((c >> 16) & 255) + ";" + std::to_string((c >> 8) & 255) + ";" +
           std::to_string(c & 255);
  };
  if (Item.Foreground != kNoColor) code += ";38;2;" + rgb(Item.Foreground);
  if (Item.Background != kNoColor) code += ";48;2;" + rgb(Item.Background);
  return code + "m";
}

int runHighlight(const TyHighlightArgs& Args) {
  std::unique_ptr<TyInputFile> input = LoadInputFile(Args.Path);
  if (!input) return kExitUsage;
  if (DetectDocumentKind(Args.Path, input->List) == TyDocumentKind::dkJSON) {
    std::fprintf(stderr, "xylem: %s: highlighting JSON is not available yet\n",
                 input->DisplayName.c_str());
    return kExitUsage;
  }
  const bool dark = Args.Theme == "dark";
  const bool html = Args.Html || (!Args.Ansi && !isatty(STDOUT_FILENO));
  const CyXMLColoring scheme = dark ? CyXMLColoring::DefaultDark() : CyXMLColoring::DefaultLight();
  TxTextItems& items = input->List.getTextItems();
  CyXMLLineColoring coloring(items, scheme);
  int64_t totalDelta = 0;
  coloring.UpdateAllLines__PARALLEL__(totalDelta);

  std::string out;
  if (html) {
    out += "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>";
    appendEscapedHtml(out, ToUTF16(input->DisplayName));
    out += "</title><style>" + styleSheet(scheme, dark) + "</style></head><body><pre>";
  }
  // Neighbouring tokens of one category become one span.
  std::u16string run;
  TyXMLColoringCategory runCategory = TyXMLColoringCategory::xcText;
  auto flush = [&] {
    if (run.empty()) return;
    if (html) {
      out += "<span class=\"" + cssClass(runCategory) + "\">";
      appendEscapedHtml(out, run);
      out += "</span>";
    } else {
      out += ansiStart(scheme.getItem(runCategory));
      out += ToUTF8(run);
    }
    run.clear();
  };
  for (int64_t line = 1; line <= input->List.getCount(); ++line) {
    for (coloring.FirstLine(line); !coloring.IsDone(); coloring.Next()) {
      if (coloring.ItemTextCount() == 0) continue;  // missing tokens have nothing to paint
      if (coloring.ItemCategory() != runCategory) flush();
      runCategory = coloring.ItemCategory();
      run.append(coloring.ItemText(), static_cast<size_t>(coloring.ItemTextCount()));
    }
    flush();
    if (!html) out += "\x1b[0m";
    out += '\n';
    if (out.size() > (1u << 20)) {
      std::fwrite(out.data(), 1, out.size(), stdout);
      out.clear();
    }
  }
  if (html) out += "</pre></body></html>\n";
  std::fwrite(out.data(), 1, out.size(), stdout);
  return kExitOK;
}

}  // namespace

void AddHighlightCommand(CLI::App& App, TyCommandRun& Run) {
  auto args = std::make_shared<TyHighlightArgs>();
  CLI::App* command = App.add_subcommand(
      "highlight",
      "Print an XML document colored by the editor's XML coloring: a self-contained HTML page "
      "whose CSS classes are named after the coloring categories (xml-start-tag-marker, ...), "
      "or terminal colors (the default when stdout is a terminal).");
  command->add_option("FILE", args->Path, "XML file (- for standard input)")->required();
  auto* html = command->add_flag("--html", args->Html, "Write an HTML page");
  command->add_flag("--ansi", args->Ansi, "Write terminal color escapes")->excludes(html);
  command->add_option("--theme", args->Theme, "Color scheme: light (default) or dark")
      ->check(CLI::IsMember({"light", "dark"}));
  command->callback([&Run, args] { Run = [args] { return runHighlight(*args); }; });
}

}  // namespace xylem::cli
