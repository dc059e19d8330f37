#pragma once
// CyXMLReader: reads a document's lines with the tokenizer into the formatter's node tree,
// refusing a document that is not well-formed with the first error's position.

#include <cstdint>
#include <string>

#include "common/Exception.hpp"
#include "common/JobContext.hpp"
#include "text/TextList.hpp"
#include "xml/format/DOM.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem {

// The message of every refusal to format.
inline constexpr const char* kXMLNotWellFormedMessage =
    "Cannot format document because it's not well-formed.";
// Lines deeper than this many levels start without indentation: indenting them would make the
// output quadratic in the depth.
inline constexpr int32_t kXMLFormatterMaxDepth = 4096;

// A refusal to format: the message and the 1-based line and position of the first error.
class CyXMLFormatException : public CyException {
 public:
  CyXMLFormatException(const std::string& message, int64_t line, int64_t linepos)
      : CyException(message), Line(line), Linepos(linepos) {}
  int64_t Line;
  int64_t Linepos;
};

class CyXMLReader {
 public:
  // Builds XMLDOMTree (cleared first) from all lines of TextList, scanning them in order with
  // XMLParser from the document-level state. Names and texts point into TextList's lines,
  // which must stay unchanged while the tree is used. PreserveText of an element: false when
  // its name is in WordsD; else true when it is in WordsP or has xml:space="preserve"; false
  // with xml:space="default"; else the parent's value. Refuses (CyXMLFormatException with
  // kXMLNotWellFormedMessage) any missing token except the one that ends character data, a
  // mismatched, unmatched or unclosed tag, no root or several roots, text, references or
  // CDATA outside the root. Linear, no
  // recursion, allocation only from the tree's arena and a few reused buffers; big documents
  // are read in parallel pieces (Read__PARALLEL__).
  static void Read(const TxTextList& TextList, TxXMLParser& XMLParser,
                   TyXMLFormattingOptions XMLFormattingOptions, TyXMLLayoutOptions XMLLayoutOptions,
                   const CyXMLWordList& WordsD, const CyXMLWordList& WordsP,
                   PyXMLDOMTree& XMLDOMTree);
  // Read with big documents cut into pieces read in parallel (PieceCount 0: Job.PieceCount;
  // fewer when a piece would have under MinPieceLines lines) and joined.
  // The tree and any refusal are exactly Read's: when a piece cannot be joined, or anything is
  // wrong, the document is read again in one pass, which finds the first error. Returns the
  // number of pieces the tree was joined from (1 for one pass). Tasks run on Job's pool; lines
  // read advance its progress and its stop token is polled every 4 K lines
  // (CyCancelledException, the tree then incomplete).
  static int Read__PARALLEL__(const TxTextList& TextList, TxXMLParser& XMLParser,
                              TyXMLFormattingOptions XMLFormattingOptions,
                              TyXMLLayoutOptions XMLLayoutOptions, const CyXMLWordList& WordsD,
                              const CyXMLWordList& WordsP, PyXMLDOMTree& XMLDOMTree, int PieceCount,
                              int64_t MinPieceLines = 20000, const TyJobContext& Job = {});
};

}  // namespace xylem
