#include "xml/format/Formatter.hpp"

#include "common/Exception.hpp"
#include "common/Settings.hpp"

namespace xylem {

namespace {
// Below this many code units a parallel load costs more in task start-up than it saves.
int PiecesFor(size_t Units) { return Units < (size_t{1} << 20) ? 1 : 0; }
}  // namespace

TyXMLFormatterChoices TyXMLFormatterChoices::FromSettings() {
  const CySettings& settings = CySettings::Get();
  return {TyXMLFormattingOptions::FromBits(settings.XMLFormattingOptions),
          TyXMLLayoutOptions::FromBits(settings.XMLLayoutOptions), settings.XMLFormatterWordsD,
          settings.XMLFormatterWordsP};
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
                            const CyXMLWordList& WordsP) {
  PyXMLDOMTree tree;
  CyXMLReader::Read(TextList, XMLParser, XMLFormattingOptions, XMLLayoutOptions, WordsD, WordsP,
                    tree);
  CyXMLWriter writer(OutputStream, XMLFormattingOptions, XMLLayoutOptions, ExtraIndent,
                     CySettings::Get().IndentationUnit);
  writer.WriteDocument(tree);
  WriteFinalLineBreak(TextList, OutputStream);
}

void CyXMLFormatter::FormatTextList(TxTextList& TextList, std::u16string_view ExtraIndent,
                                    const TyXMLFormatterChoices& Choices) {
  CyXMLWriterStringOutputStream out;
  TxXMLParser parser;
  Format(TextList, parser, ExtraIndent, out, Choices.XMLFormattingOptions, Choices.XMLLayoutOptions,
         CyXMLWordList(Choices.WordsD), CyXMLWordList(Choices.WordsP));
  TextList.LoadFromText__PARALLEL__(out.getText(), PiecesFor(out.getText().size()));
}

std::u16string CyXMLFormatter::FormatText(std::u16string_view Text, std::u16string_view ExtraIndent,
                                          const TyXMLFormatterChoices& Choices) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(Text, PiecesFor(Text.size()));
  CyXMLWriterStringOutputStream out;
  TxXMLParser parser;
  Format(list, parser, ExtraIndent, out, Choices.XMLFormattingOptions, Choices.XMLLayoutOptions,
         CyXMLWordList(Choices.WordsD), CyXMLWordList(Choices.WordsP));
  return std::move(out.getText());
}

}  // namespace xylem
