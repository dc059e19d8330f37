#pragma once
// Replace at the editor's level: runs the document-wide pass with the selection ends as
// markers and, when anything was replaced, puts the new text in place as one change and
// restores the selection over the text it covered.

#include <cstdint>
#include <string_view>

#include "search/EuroReplacer.hpp"
#include "search/ReplaceEditor.hpp"

namespace xylem {

class TxEditorReplacer {
 public:
  // Works on Editor's current content at each call. Not thread-safe: the editor's thread only.
  explicit TxEditorReplacer(IyReplaceEditor& Editor);

  // Replaces every match. Returns true when anything was replaced; then the editor's content is
  // replaced once (ReplaceContent) and the selection set again. A bad pattern or template
  // raises (CyRegExprException, ReplaceWithException) before anything changes.
  bool ReplaceAll(std::u16string_view SearchWhat, std::u16string_view ReplaceWith, uint8_t Options,
                  int64_t& ReplaceCount);
  // Replaces the rest in the search direction. Forward (roForward) starts at the selection's
  // first end, backward stops at its last end, so a selected match is always included.
  bool ReplaceRest(std::u16string_view SearchWhat, std::u16string_view ReplaceWith, uint8_t Options,
                   int64_t& ReplaceCount);

 private:
  bool Run(std::u16string_view SearchWhat, std::u16string_view ReplaceWith, uint8_t Options,
           bool Rest, int64_t& ReplaceCount);

  IyReplaceEditor& _Editor;
  TxEuroReplacer11 _EuroReplacer;
};

}  // namespace xylem
