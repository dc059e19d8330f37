#include "xml/format/Formatter.hpp"

#include "common/Exception.hpp"

namespace xylem {

namespace {
// Below this many code units a parallel load costs more in task start-up than it saves.
int PiecesFor(size_t Units) { return Units < (size_t{1} << 20) ? 1 : 0; }
}  // namespace

TyXMLFormatterChoices TyXMLFormatterChoices::FromSettings(const CySettings& Settings) {
  return {TyXMLFormattingOptions::FromBits(Settings.XMLFormattingOptions),
          TyXMLLayoutOptions::FromBits(Settings.XMLLayoutOptions), Settings.XMLFormatterWordsD,
          Settings.XMLFormatterWordsP, Settings.IndentationUnit};
}

namespace {

// The line break of a source whose last line is empty (it ended with a line end).
void WriteFinalLineBreak(const TxTextList& TextList, IyXMLWriterOutputStream& OutputStream) {
  const int64_t count = TextList.getCount();
  if (count > 1 && TextList.getItems(count)->TextUTF16.Length == 0)
    OutputStream.WriteString(u"\r\n");
}

}  // namespace

void CyXMLFormatter::Format(const TxTextList& TextList, TxXMLParser& XMLParser,
                            std::u16string_view ExtraIndent, IyXMLWriterOutputStream& OutputStream,
                            TyXMLFormattingOptions XMLFormattingOptions,
                            TyXMLLayoutOptions XMLLayoutOptions, const CyXMLWordList& WordsD,
                            const CyXMLWordList& WordsP, std::u16string_view IndentationUnit,
                            const TyJobContext& Job) {
  PyXMLDOMTree tree;
  Job.Begin("Formatting", static_cast<uint64_t>(TextList.getCount()));
  (void)CyXMLReader::Read__PARALLEL__(TextList, XMLParser, XMLFormattingOptions, XMLLayoutOptions,
                                      WordsD, WordsP, tree, 0, 20000, Job);
  Job.ThrowIfStopped();
  CyXMLWriter writer(OutputStream, XMLFormattingOptions, XMLLayoutOptions, ExtraIndent,
                     IndentationUnit);
  writer.WriteDocument(tree);
  WriteFinalLineBreak(TextList, OutputStream);
}

void CyXMLFormatter::FormatTextList(TxTextList& TextList, std::u16string_view ExtraIndent,
                                    const TyXMLFormatterChoices& Choices, const TyJobContext& Job) {
  CyXMLWriterStringOutputStream out;
  TxXMLParser parser;
  Format(TextList, parser, ExtraIndent, out, Choices.XMLFormattingOptions, Choices.XMLLayoutOptions,
         CyXMLWordList(Choices.WordsD), CyXMLWordList(Choices.WordsP), Choices.IndentationUnit,
         Job);
  // Not cancellable from here on: a load cancelled while filling would empty the list.
  TyJobContext load = Job;
  load.StopToken = {};
  load.Progress = nullptr;
  TextList.LoadFromText__PARALLEL__(out.getText(), PiecesFor(out.getText().size()), load);
}

std::u16string CyXMLFormatter::FormatText(std::u16string_view Text, std::u16string_view ExtraIndent,
                                          const TyXMLFormatterChoices& Choices) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(Text, PiecesFor(Text.size()));
  CyXMLWriterStringOutputStream out;
  TxXMLParser parser;
  Format(list, parser, ExtraIndent, out, Choices.XMLFormattingOptions, Choices.XMLLayoutOptions,
         CyXMLWordList(Choices.WordsD), CyXMLWordList(Choices.WordsP), Choices.IndentationUnit);
  return std::move(out.getText());
}

}  // namespace xylem
