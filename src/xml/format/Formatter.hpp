#pragma once
// CyXMLFormatter: re-indents a well-formed XML document. Reads the text list into the light
// node tree (CyXMLReader) and writes it back (CyXMLWriter) under the dialog's two option sets.
//
//   TyXMLFormatterChoices choices = TyXMLFormatterChoices::FromSettings(settings);
//   CyXMLFormatter::FormatTextList(list, u"", choices);   // throws CyXMLFormatException
//   SaveTextFile(path, list, format);                      // the document keeps its newline

#include <string>
#include <string_view>

#include "common/JobContext.hpp"
#include "common/Settings.hpp"
#include "text/TextFileWriter.hpp"
#include "text/TextList.hpp"
#include "xml/format/DOM.hpp"
#include "xml/format/Reader.hpp"
#include "xml/format/Writer.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem {

// One level of indentation when the caller chooses none.
inline constexpr std::u16string_view kXMLDefaultIndentationUnit = u"    ";

// The dialog's choices in one value.
struct TyXMLFormatterChoices {
  TyXMLFormattingOptions XMLFormattingOptions;
  TyXMLLayoutOptions XMLLayoutOptions;
  std::u16string WordsD;  // element names joined by "|"
  std::u16string WordsP;
  std::u16string IndentationUnit{kXMLDefaultIndentationUnit};  // one level of indentation
  // The choices Settings holds (a front end passes the user's; tests a default CySettings).
  static TyXMLFormatterChoices FromSettings(const CySettings& Settings);
};

class CyXMLFormatter {
 public:
  // Reads TextList and writes the formatted document to OutputStream with CR LF line breaks,
  // ExtraIndent at the start of every line the writer starts, and a final line break when the
  // source's last line is empty (it ended with a line end). Raises CyXMLFormatException
  // ("Cannot format document because it's not well-formed." with line and position) before
  // writing anything when the document is refused. Linear in the text's length; the tree
  // takes 64 bytes per node plus 16 per source line a node keeps. Not thread-safe;
  // TextList must not change meanwhile. IndentationUnit is one level of indentation. The
  // reading runs on Job's pool, reports "Formatting" progress by lines and polls Job's stop
  // token every 4 K lines: CyCancelledException comes before anything is written.
  static void Format(const TxTextList& TextList, TxXMLParser& XMLParser,
                     std::u16string_view ExtraIndent, IyXMLWriterOutputStream& OutputStream,
                     TyXMLFormattingOptions XMLFormattingOptions,
                     TyXMLLayoutOptions XMLLayoutOptions, const CyXMLWordList& WordsD,
                     const CyXMLWordList& WordsP,
                     std::u16string_view IndentationUnit = kXMLDefaultIndentationUnit,
                     const TyJobContext& Job = {});
  // Formats TextList in place: the result replaces its lines (loaded in parallel). On a
  // refusal or cancellation the exception propagates and TextList is unchanged.
  static void FormatTextList(TxTextList& TextList, std::u16string_view ExtraIndent,
                             const TyXMLFormatterChoices& Choices, const TyJobContext& Job = {});
  // The formatted text of Text (any line ends) as one string with CR LF line breaks.
  static std::u16string FormatText(std::u16string_view Text, std::u16string_view ExtraIndent,
                                   const TyXMLFormatterChoices& Choices);
  // Format for a whole file written in Format (its encoding), without a tree: a first pass
  // finds which elements have text, a second writes each node as it is read. A big document is
  // cut into pieces (PieceCount 0: Job.PieceCount; fewer when a piece
  // would have under MinPieceUnits characters), between lines or inside them, scanned and
  // written at once, each part into
  // a temporary file appended to Out in order. A refusal (CyXMLFormatException, as Format's)
  // comes before anything is written to Out; Out is not committed here. Returns the number of
  // parts written (1: the document went through one pass of each kind). Memory: the source
  // plus a byte per element. PieceCount 0 means Job.PieceCount; tasks run on Job's pool, the
  // two passes report "Formatting" progress by lines (total: twice the line count) and poll
  // Job's stop token every 4 K lines. Cancelled (CyCancelledException), the temporary parts
  // are removed and Out must not be committed: the target stays as it was.
  static int FormatToFile__PARALLEL__(const TxTextList& TextList, CyTextFileWriter& Out,
                                      const TyTextFileFormat& Format,
                                      const TyXMLFormatterChoices& Choices, int PieceCount = 0,
                                      int64_t MinPieceUnits = int64_t{1} << 20,
                                      const TyJobContext& Job = {});
};

}  // namespace xylem
