#include "xml/Formatter.hpp"

#include <cstdio>
#include <memory>
#include <vector>

#include "common/Exception.hpp"
#include "common/Settings.hpp"
#include "common/Tasks.hpp"
#include "xml/WriterFileStream.hpp"

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

struct TyFileCloser {
  void operator()(std::FILE* File) const { std::fclose(File); }
};

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

void CyXMLFormatter::FormatToFile__PARALLEL__(const TxTextList& TextList, CyTextFileWriter& Out,
                                              const TyTextFileFormat& Format,
                                              const TyXMLFormatterChoices& Choices) {
  const CyXMLWordList wordsD(Choices.WordsD), wordsP(Choices.WordsP);
  PyXMLDOMTree tree;
  TxXMLParser parser;
  CyXMLReader::Read(TextList, parser, Choices.XMLFormattingOptions, Choices.XMLLayoutOptions,
                    wordsD, wordsP, tree);
  const std::u16string& unit = CySettings::Get().IndentationUnit;
  CyXMLWriterFileOutputStream stream(Out);
  const std::vector<const TyXMLDOMNode*>& starts = tree.getPieceStarts();
  // Other encodings count lines for their messages, which parts would get wrong.
  if (starts.empty() || !Format.Encoding.IsUnicode()) {
    CyXMLWriter(stream, Choices.XMLFormattingOptions, Choices.XMLLayoutOptions, u"", unit)
        .WriteDocument(tree);
  } else {
    std::vector<std::unique_ptr<std::FILE, TyFileCloser>> parts(starts.size() + 1);
    for (size_t i = 1; i < parts.size(); ++i) {
      parts[i].reset(std::tmpfile());
      if (!parts[i]) throw CyException("No temporary file for formatting in parts.", kErrorFileWrite);
    }
    CyTasks::RunAll(static_cast<int>(parts.size()), [&](int Part) {
      const size_t i = static_cast<size_t>(Part);
      if (i == 0) {
        CyXMLWriter(stream, Choices.XMLFormattingOptions, Choices.XMLLayoutOptions, u"", unit)
            .WriteDocumentUntil(tree, *starts[0]);
        return;
      }
      CyTextFileWriter file(fileno(parts[i].get()), "temporary file", Format, false);
      CyXMLWriterFileOutputStream partStream(file);
      CyXMLWriter(partStream, Choices.XMLFormattingOptions, Choices.XMLLayoutOptions, u"", unit)
          .WriteDocumentFrom(*starts[i - 1], i < starts.size() ? starts[i] : nullptr);
      file.Commit();
    });
    for (size_t i = 1; i < parts.size(); ++i) Out.AppendEncoded(fileno(parts[i].get()));
  }
  WriteFinalLineBreak(TextList, stream);
}

void CyXMLFormatter::FormatTextList(TxTextList& TextList, std::u16string_view ExtraIndent,
                                    const TyXMLFormatterChoices& Choices) {
  CyXMLWriterStringOutputStream out;
  TxXMLParser parser;
  Format(TextList, parser, ExtraIndent, out, Choices.XMLFormattingOptions,
         Choices.XMLLayoutOptions, CyXMLWordList(Choices.WordsD), CyXMLWordList(Choices.WordsP));
  TextList.LoadFromText__PARALLEL__(out.getText(), PiecesFor(out.getText().size()));
}

std::u16string CyXMLFormatter::FormatText(std::u16string_view Text,
                                          std::u16string_view ExtraIndent,
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
