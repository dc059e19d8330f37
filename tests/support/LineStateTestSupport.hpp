#pragma once
// Generated XML-ish documents, a reference line-state scan without the fast path, and random
// edits of a text list followed by the after-edit repair; shared by the unit tests and the
// fuzz target.

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "text/TextList.hpp"
#include "xml/lines/LineState.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem::test {

// Pieces of markup that tend to cross lines and to break: the generator joins them at random
// and cuts lines anywhere, so many lines begin or end inside constructs.
inline const std::vector<std::u16string>& LineStateFragments() {
  static const std::vector<std::u16string> fragments = {
      u"<a>",
      u"</a>",
      u"<x:b c=\"1\" d='2'>",
      u"</x:b>",
      u"<e/>",
      u"<f g = \"h\" />",
      u"text",
      u"  ",
      u"&amp;",
      u"&nbsp;",
      u"&#x41;",
      u"&bad",
      u"<!-- c -->",
      u"<!--",
      u"-->",
      u"<![CDATA[ d ]]>",
      u"<![CDATA[",
      u"]]>",
      u"<?xml version=\"1.0\"?>",
      u"<?pi body?>",
      u"<?xml-stylesheet href='s.xsl'?>",
      u"<!DOCTYPE r [<!ELEMENT r ANY>]>",
      u"<!DOCTYPE r",
      u"SYSTEM \"r.dtd\">",
      u"<!ENTITY e \"v\">",
      u"]>",
      u"<",
      u">",
      u"\"",
      u"'",
      u"=",
      u"/>",
      u"&",
      u";",
      u"<?",
      u"?>",
      u"<x y=\"",
      u"\">",
      u"</",
      u"<!",
      u"\t",
      u"é<ü/>",
  };
  return fragments;
}

// A document of about LineCount lines joined by "\n".
inline std::u16string GenerateLines(std::mt19937& Random, int LineCount) {
  const auto& fragments = LineStateFragments();
  std::u16string text;
  for (int line = 0; line < LineCount; ++line) {
    if (line > 0) text += u'\n';
    const int count = static_cast<int>(Random() % 6);
    for (int i = 0; i < count; ++i) text += fragments[Random() % fragments.size()];
  }
  return text;
}

// What the line-state scan stores per line.
struct TyLineRecord {
  int64_t StackG = 0;
  int64_t StackS = 0;
  int32_t Delta = 0;
  int32_t DeltaMin = 0;
  int32_t DeltaMax = 0;
  bool operator==(const TyLineRecord&) const = default;
};

inline TyLineRecord RecordOf(const TxItem& Item) {
  return {Item.StackG, Item.StackS, Item.Delta, Item.DeltaMin, Item.DeltaMax};
}

inline std::vector<TyLineRecord> Stored(const TxTextItems& Items) {
  std::vector<TyLineRecord> out;
  for (int64_t line = 1; line <= Items.getCount(); ++line)
    out.push_back(RecordOf(*Items.getItems(line)));
  return out;
}

// The records a plain sequential tokenizer scan gives (no fast path, no pieces); Total
// receives the sum of the line deltas.
inline std::vector<TyLineRecord> ReferenceScan(const TxTextItems& Items, int64_t& Total) {
  std::vector<TyLineRecord> out;
  TxXMLParser parser;
  uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
  Total = 0;
  for (int64_t line = 1; line <= Items.getCount(); ++line) {
    TyLineRecord r{static_cast<int64_t>(g), static_cast<int64_t>(s)};
    parser.ScanUntilEOL(Items.getItems(line)->TextUTF16.getText(), line == Items.getCount(),
                        r.Delta, r.DeltaMin, r.DeltaMax, g, s);
    Total += r.Delta;
    out.push_back(r);
  }
  return out;
}

// Result of one random edit and its repair.
struct TyEditOutcome {
  int64_t Rewritten = 0;  // what AfterEdit reported
  int64_t Expected = 0;   // lines with new text plus lines whose stored values were wrong
};

// Applies one random edit to List (insert, remove, replace, change, merge or split lines)
// with BeforeEdit / AfterEdit around it, keeping Total.
inline TyEditOutcome RandomEdit(std::mt19937& Random, TxTextList& List, int64_t& Total) {
  TxTextItems& items = List.getTextItems();
  const int64_t count = List.getCount();
  const int64_t line = 1 + static_cast<int64_t>(Random() % static_cast<uint32_t>(count + 1));
  const int64_t span = 1 + static_cast<int64_t>(Random() % 3);
  int64_t first = line, changed = 0;
  auto fresh = [&Random] { return GenerateLines(Random, 1); };
  switch (Random() % 6) {
    case 0:  // insert lines
      for (int64_t i = 0; i < span; ++i) List.InsertBefore(line, fresh());
      changed = span;
      break;
    case 1: {  // remove lines
      if (line > count) return {};
      const int64_t n = std::min(span, count - line + 1);
      if (n == count) return {};  // keep at least one line
      CyXMLLineStates::BeforeEdit(items, line, n, Total);
      List.Remove(line, n);
      break;
    }
    case 2: {  // replace lines by others
      if (line > count) return {};
      const int64_t n = std::min(span, count - line + 1);
      CyXMLLineStates::BeforeEdit(items, line, n, Total);
      TxTextList source;
      source.LoadFromText__PARALLEL__(GenerateLines(Random, static_cast<int>(span)), 1);
      List.Replace(line, n, source);
      changed = source.getCount();
      break;
    }
    case 3: {  // change one line in place, as typing does
      if (line > count) return {};
      const std::u16string old(List.getLine(line));
      std::u16string now = old;
      const auto& fragments = LineStateFragments();
      now.insert(Random() % (old.size() + 1), fragments[Random() % fragments.size()]);
      List.Dent(line, {old}, {now});
      changed = 1;
      break;
    }
    case 4:  // merge with the next line
      if (line >= count) return {};
      CyXMLLineStates::BeforeEdit(items, line, 2, Total);
      List.Merge(line);
      changed = 1;
      break;
    default: {  // split
      if (line > count) return {};
      const int64_t length = static_cast<int64_t>(List.getLine(line).size());
      CyXMLLineStates::BeforeEdit(items, line, 1, Total);
      List.Split(line, 1 + static_cast<int64_t>(Random() % static_cast<uint32_t>(length + 1)));
      changed = 2;
      break;
    }
  }
  int64_t ignored = 0;
  const std::vector<TyLineRecord> before = Stored(items);
  const std::vector<TyLineRecord> truth = ReferenceScan(items, ignored);
  TyEditOutcome outcome;
  for (size_t i = 0; i < truth.size(); ++i) {
    const auto number = static_cast<int64_t>(i) + 1;
    if ((number >= first && number < first + changed) || !(before[i] == truth[i]))
      ++outcome.Expected;
  }
  outcome.Rewritten = CyXMLLineStates::AfterEdit(items, first, changed, Total);
  return outcome;
}

}  // namespace xylem::test
