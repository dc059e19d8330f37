#include "search/EditorReplacer.hpp"

#include <algorithm>
#include <memory>

namespace xylem {

TxEditorReplacer::TxEditorReplacer(IyReplaceEditor& Editor)
    : _Editor(Editor), _EuroReplacer(Editor) {}

bool TxEditorReplacer::ReplaceAll(std::u16string_view SearchWhat, std::u16string_view ReplaceWith,
                                  uint8_t Options, int64_t& ReplaceCount) {
  return Run(SearchWhat, ReplaceWith, Options, false, ReplaceCount);
}

bool TxEditorReplacer::ReplaceRest(std::u16string_view SearchWhat, std::u16string_view ReplaceWith,
                                   uint8_t Options, int64_t& ReplaceCount) {
  return Run(SearchWhat, ReplaceWith, Options, true, ReplaceCount);
}

bool TxEditorReplacer::Run(std::u16string_view SearchWhat, std::u16string_view ReplaceWith,
                           uint8_t Options, bool Rest, int64_t& ReplaceCount) {
  ReplaceCount = 0;
  const TxTextList& list = _Editor.getTextList();
  const std::u16string_view newline = _Editor.getNewline();
  const TyReplaceSelection selection = _Editor.getSelection();
  int64_t markers[2] = {
      list.ConvertLineLineposToOffset(newline, selection.AnchorLine, selection.AnchorLinepos),
      list.ConvertLineLineposToOffset(newline, selection.CaretLine, selection.CaretLinepos)};

  CyFIFOUTF16 fifo;
  bool replaced = false;
  if (!Rest) {
    replaced =
        _EuroReplacer.ReplaceAll(SearchWhat, ReplaceWith, Options, fifo, markers, ReplaceCount);
  } else {
    const bool forward = (Options & roForward) != 0;
    const bool anchorFirst = markers[0] <= markers[1];
    const bool useAnchor = forward == anchorFirst;
    const int64_t line = useAnchor ? selection.AnchorLine : selection.CaretLine;
    const int64_t linepos = useAnchor ? selection.AnchorLinepos : selection.CaretLinepos;
    replaced = _EuroReplacer.ReplaceRest(SearchWhat, ReplaceWith, line, linepos, Options, fifo,
                                         markers, ReplaceCount);
  }
  if (!replaced) return false;

  auto content = std::make_unique<TxTextList>();
  content->setOnCreateUniqueID(list.getOnCreateUniqueID());
  content->LoadFromText__PARALLEL__(fifo.getView());
  fifo.Clear();
  TyReplaceSelection restored;
  content->ConvertOffsetToLineLinepos(newline, markers[0], restored.AnchorLine,
                                      restored.AnchorLinepos);
  content->ConvertOffsetToLineLinepos(newline, markers[1], restored.CaretLine,
                                      restored.CaretLinepos);
  _Editor.ReplaceContent(std::move(content));
  _Editor.setSelection(restored);
  return true;
}

}  // namespace xylem
