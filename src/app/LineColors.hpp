#pragma once
// CyLineColors: the colour runs of one line of an editable document, chosen by its kind: the
// XML scheme from the stored line states (XSLT with the XPath colouring inside expression
// attribute values), the JSON scheme (JSON strings never span lines, so each line is coloured
// on its own), or none for plain text. The view asks for the visible lines only.
//
// Not thread-safe: the view's thread. The colouring objects are rebuilt when the document's
// kind or text list changes (Invalidate after a whole-content change).

#include <cstdint>
#include <memory>
#include <vector>

#include "common/Color.hpp"
#include "json/Coloring.hpp"
#include "xml/lines/Coloring.hpp"
#include "xpath/EmbeddedColoringScheme.hpp"

namespace xylem {

class TxMarkupDocument;
class CyXMLLineColoring;
class TxTextItems;

// Characters [Linepos, Linepos + Count) of a line (1-based) in one colour item.
struct TyColorRun {
  int64_t Linepos;
  int64_t Count;
  TyColorItem Item;
};

class CyLineColors {
 public:
  explicit CyLineColors(const TxMarkupDocument& Document, bool Dark = false);
  ~CyLineColors();
  CyLineColors(const CyLineColors&) = delete;
  CyLineColors& operator=(const CyLineColors&) = delete;

  // Switches between the light and the dark defaults of every scheme.
  void setDark(bool Dark);
  bool getDark() const { return Dark_; }
  // Drops the colouring objects (the text list may have been replaced).
  void Invalidate();

  // Fills Runs (cleared first, capacity reused) with the runs of line Line, in order, not
  // overlapping; characters outside every run have the view's default colours. Linear in the
  // line's length (plus, in XSLT, the XPath values that start on it).
  void ColorLine(int64_t Line, std::vector<TyColorRun>& Runs);
  // The runs of Line as ColorLine gives them: for a line longer than kLongLine characters the
  // runs kept from the last call for the same text and start state (scrolling sideways along
  // a very long line colours it once), otherwise Scratch filled by ColorLine.
  const std::vector<TyColorRun>& RunsOf(int64_t Line, std::vector<TyColorRun>& Scratch);
  static constexpr size_t kLongLine = 100000;

  const CyXMLColoring& getXMLScheme() const { return XmlScheme_; }
  const CyJSONColoring& getJSONScheme() const { return JsonScheme_; }

 private:
  void Prepare();

  const TxMarkupDocument& Document_;
  bool Dark_;
  CyXMLColoring XmlScheme_;
  CyXPathColoring XPathScheme_;
  CyJSONColoring JsonScheme_;
  std::unique_ptr<CyXMLLineColoring> Xml_;
  const TxTextItems* XmlItems_ = nullptr;
  int XmlKind_ = -1;
  // The last long line coloured: its identity, start state and runs.
  std::vector<TyColorRun> LongRuns_;
  int64_t LongID_ = -1;
  int64_t LongStackG_ = 0;
  int64_t LongStackS_ = 0;
  int LongKind_ = -1;
};

}  // namespace xylem
