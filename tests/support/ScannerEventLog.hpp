#pragma once
// A log of what the formatter's scanner hands its sink, for comparing its fast path with the
// tokenizer (tests and the fuzz target).

#include <string>

#include "common/Utf.hpp"
#include "xml/format/NodeScanner.hpp"

namespace xylem::test {

// Every event as text: kinds, flags and the source pieces.
class CyRecordingSink {
 public:
  std::string Log;
  void Text(std::span<const TyXMLDOMPiece> Pieces, bool HasText) {
    Log += HasText ? "T[" : "W[";
    Add(Pieces);
  }
  void Delimited(TyXMLDOMNodeType Type, std::span<const TyXMLDOMPiece> Inner) {
    Log += "D" + std::to_string(static_cast<int>(Type)) + "[";
    Add(Inner);
  }
  void StartTag(const detail::TyXMLScannedTag& Tag) {
    Log += "S<" + ToUTF8(Tag.Name) + (Tag.Empty ? "/" : "") + (Tag.Preserve ? "p" : "") +
           (Tag.InPreserved ? "i" : "") + "|" + ToUTF8(Tag.CloseSlash) + "|";
    for (const TyXMLAttributeSource& a : Tag.Attributes) {
      Log += std::string(a.SameLine ? "s" : "") + (a.MultiLine ? "m" : "") + "[";
      Add(a.Text);
    }
    Add(Tag.AsWritten);
  }
  void EndTag(std::span<const TyXMLDOMPiece> AsWritten) {
    Log += "E[";
    Add(AsWritten);
  }
  void OuterEndTag(std::u16string_view Name, detail::TyWhere) { Log += "O" + ToUTF8(Name) + "\n"; }
  bool Stopped() const { return false; }

 private:
  void Add(std::span<const TyXMLDOMPiece> Pieces) {
    for (const TyXMLDOMPiece& p : Pieces) Log += ToUTF8(p.View()) + "|";
    Log += "]\n";
  }
};

// The events of scanning Utf8 with the fast path on or off, ending in the refusal if any.
inline std::string ScannerEventLog(const std::string& Utf8, bool FastPath) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(ToUTF16(Utf8), 1);
  CyRecordingSink sink;
  const CyXMLWordList wordsD(u"fmt"), wordsP(u"pre");
  detail::CyXMLNodeScanner<CyRecordingSink> scanner(list, sink, wordsD, wordsP);
  scanner.setFastPath(FastPath);
  TxXMLParser parser;
  try {
    scanner.Read(parser, 1, list.getCount());
    scanner.Finish();
  } catch (const CyXMLFormatException& error) {
    sink.Log += "refused " + std::to_string(error.Line) + ":" + std::to_string(error.Linepos);
  }
  return sink.Log;
}

}  // namespace xylem::test
