// xylem format: XML or JSON pretty-printing with the choices of the editor's formatting dialog.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/Command.hpp"
#include "cli/InputFile.hpp"
#include "cli/JSONInput.hpp"
#include "cli/Output.hpp"
#include "cli/Refusal.hpp"
#include "common/Settings.hpp"
#include "common/Utf.hpp"
#include "diag/ErrRecord.hpp"
#include "diag/ErrReport.hpp"
#include "json/Exception.hpp"
#include "json/Formatter.hpp"
#include "services/DocumentChecks.hpp"
#include "xml/format/Formatter.hpp"
#include "xml/format/Reader.hpp"

namespace xylem::cli {

namespace {

struct TyFormatArgs {
  std::vector<std::string> Files{"-"};
  std::string Attributes, Empty, Text, Indent;
  std::optional<bool> RemoveBlankLines, ClearWhitespaceOnly;
  std::optional<std::string> Preserve, FormatIn;
  bool InPlace = false;
  bool KeepLinks = false;  // --in-place-keep-links
};

using enum TyXMLFormattingOption;
using enum TyXMLLayoutOption;

void setOption(TyXMLFormattingOptions& Set, TyXMLFormattingOption Option, bool On) {
  const uint32_t bit = 1u << static_cast<unsigned>(Option);
  Set.Bits = On ? Set.Bits | bit : Set.Bits & ~bit;
}
void setOption(TyXMLLayoutOptions& Set, TyXMLLayoutOption Option, bool On) {
  const uint32_t bit = 1u << static_cast<unsigned>(Option);
  Set.Bits = On ? Set.Bits | bit : Set.Bits & ~bit;
}

// The dialog's choices over the settings' defaults; a choice not given keeps its default.
TyXMLFormatterChoices choicesOf(const TyFormatArgs& Args) {
  TyXMLFormatterChoices choices = TyXMLFormatterChoices::FromSettings(CySettings::Get());
  auto& f = choices.XMLFormattingOptions;
  auto& l = choices.XMLLayoutOptions;
  if (!Args.Attributes.empty()) {
    setOption(f, xfoFormatAttributes, Args.Attributes != "leave");
    setOption(l, xloAttributesInline, Args.Attributes == "inline");
  }
  if (!Args.Empty.empty()) {
    setOption(f, xfoFormatEmptyElements, Args.Empty != "leave");
    setOption(l, xloEmptyElementAddSpaceBeforeSlash, Args.Empty == "collapse-space");
    setOption(l, xloEmptyElementExpand, Args.Empty == "expand");
  }
  if (!Args.Text.empty()) {
    setOption(f, xfoFormatText, Args.Text != "leave");
    setOption(l, xloTextInline, Args.Text == "inline");
  }
  if (Args.RemoveBlankLines) setOption(f, xfoRemoveWhitespaceOnlyLines, *Args.RemoveBlankLines);
  if (Args.ClearWhitespaceOnly)
    setOption(f, xfoClearWhitespaceOnlyElements, *Args.ClearWhitespaceOnly);
  // Lists on the command line may be separated by commas as well as by "|".
  auto list = [](std::string names) {
    for (char& c : names)
      if (c == ',') c = '|';
    return ToUTF16(names);
  };
  if (Args.Preserve) choices.WordsP = list(*Args.Preserve);
  if (Args.FormatIn) choices.WordsD = list(*Args.FormatIn);
  return choices;
}

void reportErrors(const TyInputFile& Input, const IyXMLErrsPtr& Errors) {
  const std::string report =
      WriteErrReport({{Input.DisplayName, Errors}}, TyErrReportFormat::erfGcc);
  std::fwrite(report.data(), 1, report.size(), stdout);
}

// The refusal: the message on stderr, the errors where `check` writes them.
int refuse(const TyInputFile& Input, const IyXMLErrsPtr& Errors) {
  std::fprintf(stderr, "xylem: %s: %s\n", Input.DisplayName.c_str(), kXMLNotWellFormedMessage);
  reportErrors(Input, Errors);
  return kExitFindings;
}

int formatXML(TyInputFile& Input, const TyXMLFormatterChoices& Choices, bool InPlace,
              TyInPlaceWrite Mode) {
  // One verdict with `check`: a document is formatted exactly when the check accepts it, and
  // refused with every error the check finds.
  int64_t totalDelta = 0;
  const IyXMLErrsPtr errors = CheckXMLDocument(Input.List, totalDelta, JobFor(nullptr));
  if (HasErrors(errors)) return refuse(Input, errors);
  try {
    // The whole document is read (and refused if need be) before the first byte is written.
    const bool written = WriteStreamed(
        Input, InPlace,
        [&](CyTextFileWriter& Out) {
          CyXMLFormatter::FormatToFile__PARALLEL__(Input.List, Out, Input.Format, Choices, 0,
                                                   int64_t{1} << 20, JobFor(nullptr));
        },
        Mode);
    return written ? kExitOK : kExitUsage;
  } catch (const CyXMLFormatException& error) {
    // Never for a document the check accepts; reported rather than hidden if it happens.
    return refuse(Input, OneError(error.Line, error.Linepos, ToUTF16(error.what())));
  }
}

int formatJSON(TyInputFile& Input, bool InPlace, TyInPlaceWrite Mode) {
  TyJSONWriterOptions options;
  options.IndentationUnit = CySettings::Get().IndentationUnit;
  options.Newline = Input.Format.Newline;
  // The layout ends at the closing bracket; keep the file's final line end if it had one.
  const bool finalNewline = EndsWithLineEnd(Input);
  try {
    const std::shared_ptr<const CyJSONMemory> memory = JSONMemoryOf(Input);
    const bool written = WriteStreamed(
        Input, InPlace,
        [&](CyTextFileWriter& Out) {
          CyJSONFormatter::Format(*memory, Out, options);
          if (finalNewline) Out.PutNewline();
        },
        Mode);
    return written ? kExitOK : kExitUsage;
  } catch (const JSONException& error) {
    if (RefusedAsBinary(Input)) return kExitUsage;
    reportErrors(Input, OneError(error.Line, error.Linepos, error.Reason));
    return kExitFindings;
  }
}

int runFormat(const TyFormatArgs& Args) {
  if (!Args.Indent.empty()) {
    CySettings::Get().IndentationUnit =
        Args.Indent == "tab" ? u"\t" : std::u16string(std::stoul(Args.Indent), u' ');
  }
  const TyXMLFormatterChoices choices = choicesOf(Args);
  const bool inPlace = Args.InPlace || Args.KeepLinks;
  const TyInPlaceWrite mode =
      Args.KeepLinks ? TyInPlaceWrite::ipwKeepLinks : TyInPlaceWrite::ipwRename;
  int exitCode = kExitOK;
  for (const std::string& path : Args.Files) {
    std::unique_ptr<TyInputFile> input = LoadJSONOrInputFile(path);
    int code = kExitUsage;
    if (input) {
      code = input->JSON || DetectDocumentKind(path, input->List) == TyDocumentKind::dkJSON
                 ? formatJSON(*input, inPlace, mode)
                 : formatXML(*input, choices, inPlace, mode);
    }
    exitCode = std::max(exitCode, code);
  }
  return exitCode;
}

}  // namespace

void AddFormatCommand(CLI::App& App, TyCommandRun& Run) {
  auto args = std::make_shared<TyFormatArgs>();
  CLI::App* command = App.add_subcommand(
      "format",
      "Pretty-print XML or JSON (kind by extension, then by content). The result goes to stdout, "
      "or back into the file with -i (written atomically, encoding, byte-order mark and newline "
      "kept; see --in-place-keep-links for hard links). Bytes that do not decode are refused "
      "(exit 2) with the position of the first one; nothing is written. A document that does not "
      "parse is not written; its errors are reported as by "
      "`check` (exit 1). Defaults: attributes inline, empty elements collapsed, text inline, "
      "blank lines removed, white-space-only elements cleared, four-space indent.");
  command->add_option("FILE", args->Files, "Files (- or nothing for standard input)");
  command
      ->add_option("--attributes", args->Attributes,
                   "inline: on the element's line; lines: one per line; leave: as written")
      ->check(CLI::IsMember({"inline", "lines", "leave"}));
  command
      ->add_option("--empty", args->Empty,
                   "Empty elements: collapse (<e/>), collapse-space (<e />), expand (<e></e>), "
                   "leave")
      ->check(CLI::IsMember({"collapse", "collapse-space", "expand", "leave"}));
  command
      ->add_option("--text", args->Text,
                   "Text: inline (on the element's line), lines (on lines of its own), leave")
      ->check(CLI::IsMember({"inline", "lines", "leave"}));
  command->add_flag("--remove-blank-lines,!--keep-blank-lines", args->RemoveBlankLines,
                    "Remove white-space-only lines (default) or keep blank lines as they are");
  command->add_flag("--clear-whitespace-only,!--keep-whitespace-only", args->ClearWhitespaceOnly,
                    "Treat elements holding only white space as empty (default)");
  command->add_option("--preserve", args->Preserve,
                      "Elements whose content is kept verbatim (names separated by | or ,)");
  command->add_option("--format-in", args->FormatIn,
                      "Elements formatted even inside preserved ones (names separated by | or ,)");
  command->add_option("--indent", args->Indent, "Indentation: a number of spaces, or tab")
      ->check(CLI::IsMember({"tab"}) | CLI::Range(0, 16));
  command->add_flag("--in-place,-i", args->InPlace, kInPlaceHelp);
  command->add_flag("--in-place-keep-links", args->KeepLinks, kInPlaceKeepLinksHelp);
  command->callback([&Run, args] { Run = [args] { return runFormat(*args); }; });
}

}  // namespace xylem::cli
