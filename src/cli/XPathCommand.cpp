// xylem xpath check: the syntax check of one XPath 3.1 expression (or pattern, sequence type,
// item type, attribute value template), for people and, with --jsonl, for tools.
#include <cstdio>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "cli/Command.hpp"
#include "common/Utf.hpp"
#include "xpath/Checker.hpp"

namespace xylem::cli {

namespace {

struct TyXPathArgs {
  std::string Rule = "expr";
  std::optional<std::string> Expression;
  bool JSONLines = false;
};

TyXPath31ParserRule ruleOf(const std::string& Name) {
  if (Name == "pattern") return TyXPath31ParserRule::xprPattern30;
  if (Name == "sequence-type") return TyXPath31ParserRule::xprSequenceType;
  if (Name == "item-type") return TyXPath31ParserRule::xprItemType;
  if (Name == "avt") return TyXPath31ParserRule::xprAVT;
  return TyXPath31ParserRule::xprExpr;
}

// The expression, and a caret under the failing token, on the line of the expression it is in.
void printCaret(std::u16string_view Text, int32_t Index) {
  size_t lineStart = Text.rfind(u'\n', Index == 0 ? 0 : static_cast<size_t>(Index) - 1);
  lineStart = lineStart == std::u16string_view::npos ? 0 : lineStart + 1;
  if (static_cast<size_t>(Index) < lineStart) lineStart = 0;
  size_t lineEnd = Text.find(u'\n', lineStart);
  if (lineEnd == std::u16string_view::npos) lineEnd = Text.size();
  const std::u16string_view line = Text.substr(lineStart, lineEnd - lineStart);
  // Width in terminal columns: code points, tabs kept so the caret lines up under them.
  std::string pad;
  for (size_t i = 0; i < static_cast<size_t>(Index) - lineStart && i < line.size(); ++i) {
    if (line[i] >= 0xDC00 && line[i] <= 0xDFFF) continue;
    pad += line[i] == u'\t' ? '\t' : ' ';
  }
  std::printf("  %s\n  %s^\n", ToUTF8(line).c_str(), pad.c_str());
}

int checkOne(const std::string& Expression, TyXPath31ParserRule Rule) {
  const std::u16string text = ToUTF16(Expression);
  CyXPath31Checker checker(text, Rule);
  if (checker.Check()) {
    std::printf("ok\n");
    return kExitOK;
  }
  const TyXPath31CheckError& error = checker.getError();
  std::printf("error at offset %d: %s\n", error.TokenStart, ToUTF8(error.Message).c_str());
  printCaret(text, error.TokenStart);
  if (!error.Expected.empty()) {
    std::string expected;
    for (const std::u16string& token : error.Expected)
      expected += (expected.empty() ? "" : ", ") + ToUTF8(token);
    std::printf("expected: %s\n", expected.c_str());
  }
  return kExitFindings;
}

// One JSON object per input line: {"text": "..."} in, {"ok": ...} out, flushed per line so a
// tool can talk to the process interactively.
int checkJSONLines(TyXPath31ParserRule Rule) {
  int exitCode = kExitOK;
  std::string line;
  while (std::getline(std::cin, line)) {
    if (line.empty() || line == "\r") continue;
    nlohmann::json answer;
    try {
      const nlohmann::json request = nlohmann::json::parse(line);
      const std::u16string text = ToUTF16(request.at("text").get<std::string>());
      CyXPath31Checker checker(text, Rule);
      if (checker.Check()) {
        answer = {{"ok", true}};
      } else {
        answer = {{"ok", false},
                  {"message", ToUTF8(checker.getError().Message)},
                  {"offset", checker.getError().TokenStart}};
        exitCode = kExitFindings;
      }
    } catch (const nlohmann::json::exception& error) {
      answer = {
          {"ok", false}, {"message", std::string("bad request: ") + error.what()}, {"offset", -1}};
      exitCode = kExitUsage;
    }
    std::cout << answer.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n'
              << std::flush;
  }
  return exitCode;
}

}  // namespace

void AddXPathCommand(CLI::App& App, TyCommandRun& Run) {
  auto args = std::make_shared<TyXPathArgs>();
  CLI::App* xpath = App.add_subcommand("xpath", "XPath 3.1 tools");
  xpath->require_subcommand(1);
  CLI::App* check = xpath->add_subcommand(
      "check",
      "Check the syntax of one XPath 3.1 expression. On failure: the message, the expression "
      "with a caret under the failing token, and the tokens expected there (exit 1). With "
      "--jsonl, read JSON lines {\"text\": \"...\"} from stdin and answer each with one line "
      "{\"ok\": true} or {\"ok\": false, \"message\": \"...\", \"offset\": N} (N: 0-based "
      "character index of the failing token).");
  check
      ->add_option("--rule", args->Rule,
                   "What the text must be: expr (default), pattern, sequence-type, item-type, avt")
      ->check(CLI::IsMember({"expr", "pattern", "sequence-type", "item-type", "avt"}));
  check->add_flag("--jsonl", args->JSONLines, "Batch mode for tools: JSON lines on stdin");
  check->add_option("EXPR", args->Expression, "The expression");
  check->callback([&Run, args] {
    Run = [args] {
      if (args->JSONLines) return checkJSONLines(ruleOf(args->Rule));
      if (!args->Expression) {
        std::fprintf(stderr, "xylem: xpath check: give an expression or --jsonl\n");
        return kExitUsage;
      }
      return checkOne(*args->Expression, ruleOf(args->Rule));
    };
  });
  AddXPathEvalCommand(*xpath, Run);
}

}  // namespace xylem::cli
