#pragma once
// Replace over a whole document: the lines are joined with the document's newline into one
// buffer and one replace pass runs over all of it (replace all) or over the rest from a
// position in the search direction (replace rest). The document itself is not changed here.

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "search/FIFO.hpp"
#include "search/ReplaceEditor.hpp"
#include "search/Replacer.hpp"

namespace xylem {

// The replacer the options byte asks for: roRegExpr chooses the regular-expression replacer
// (Newline is PCRE2's newline and what "\n" in the template inserts); otherwise the plain one
// with roCaseSensitive and roWholeWordOnly. Raises CyRegExprException or ReplaceWithException.
std::unique_ptr<CyReplacer> CreateReplacer(std::u16string_view SearchWhat,
                                           std::u16string_view ReplaceWith, uint8_t Options,
                                           std::u16string_view Newline);

class TxEuroReplacer11 {
 public:
  // Reads Editor's lines and newline at each call; never changes the editor.
  explicit TxEuroReplacer11(IyReplaceEditor& Editor);

  // Replaces every match in the document. FIFO receives the whole replaced text; Markers are
  // offsets into the joined text, shifted as CyReplacer::Replace shifts them. Returns true when
  // anything was replaced. The template is parsed before anything is joined or written.
  // Allocates one buffer of the joined text.
  bool ReplaceAll(std::u16string_view SearchWhat, std::u16string_view ReplaceWith, uint8_t Options,
                  CyFIFOUTF16& FIFO, std::span<int64_t> Markers, int64_t& ReplaceCount);
  // As ReplaceAll over the rest of the document from (Line, Linepos): with roForward from there
  // to the end, otherwise from the start up to there (a match must start before it).
  bool ReplaceRest(std::u16string_view SearchWhat, std::u16string_view ReplaceWith, int64_t Line,
                   int64_t Linepos, uint8_t Options, CyFIFOUTF16& FIFO, std::span<int64_t> Markers,
                   int64_t& ReplaceCount);

 private:
  bool Run(std::u16string_view SearchWhat, std::u16string_view ReplaceWith, uint8_t Options,
           bool Rest, int64_t Offset, CyFIFOUTF16& FIFO, std::span<int64_t> Markers,
           int64_t& ReplaceCount);

  IyReplaceEditor& _Editor;
  // The lines of the editor's current content, taken afresh by every call: the editor replaces
  // its whole list after a replace.
  const TxTextItems* _TextItems = nullptr;
};

}  // namespace xylem
