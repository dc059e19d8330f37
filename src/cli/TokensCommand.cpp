// xylem tokens: the XML tokenizer's token stream, for debugging and bug reports.
#include <cstdio>
#include <memory>
#include <string>

#include "cli/Command.hpp"
#include "cli/InputFile.hpp"
#include "cli/ProgressBar.hpp"
#include "common/Utf.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem::cli {

namespace {

// Token text as one printable line: control characters escaped, long texts shortened.
std::string printable(std::u16string_view Text) {
  constexpr size_t kMaxShown = 60;
  std::string shown = ToUTF8(Text.substr(0, kMaxShown));
  std::string out;
  for (char c : shown) {
    if (c == '\t')
      out += "\\t";
    else if (c == '"' || c == '\\')
      out += std::string("\\") + c;
    else
      out += c;
  }
  if (Text.size() > kMaxShown) out += "...";
  return out;
}

int runTokens(const std::string& Path) {
  std::unique_ptr<TyInputFile> input;
  {
    CyProgressBar bar(Path);
    input = LoadInputFile(Path, JobFor(&bar));
  }
  if (!input) return kExitUsage;
  const TxTextList& list = input->List;
  TxXMLParser parser;
  uint64_t group = kXMLDocumentGroupWord, symbol = kXMLDocumentSymbolWord;
  for (int64_t line = 1; line <= list.getCount(); ++line) {
    parser.First(list.getItems(line)->TextUTF16.getText(), line == list.getCount(), group, symbol);
    for (;;) {
      const TyXMLToken& token = parser.getToken();
      if (token.IsDone) break;
      std::printf("%lld:%lld\t%s\t%s%s\t\"%s\"\n", static_cast<long long>(line),
                  static_cast<long long>(token.Offset0 + 1), std::string(token.GroupStr0()).c_str(),
                  std::string(token.SymbolStr0()).c_str(), token.TextIsMissing ? " (missing)" : "",
                  printable(token.Text()).c_str());
      parser.Next();
    }
    group = parser.getStackG();
    symbol = parser.getStackS();
  }
  return kExitOK;
}

}  // namespace

void AddTokensCommand(CLI::App& App, TyCommandRun& Run) {
  auto path = std::make_shared<std::string>();
  CLI::App* command = App.add_subcommand(
      "tokens",
      "Print the XML tokenizer's tokens, one per line: LINE:POSITION, group, symbol (missing "
      "tokens marked) and the token's text.");
  command->add_option("FILE", *path, "XML file (- for standard input)")->required();
  command->callback([&Run, path] { Run = [path] { return runTokens(*path); }; });
}

}  // namespace xylem::cli
