#include "app/LineColors.hpp"

#include "editor/Document.hpp"
#include "xml/lines/LineColoring.hpp"
#include "xslt/XSLTLineColoring.hpp"

namespace xylem {

CyLineColors::CyLineColors(const TxMarkupDocument& Document, bool Dark)
    : Document_(Document), Dark_(!Dark) {
  setDark(Dark);
}

CyLineColors::~CyLineColors() = default;

void CyLineColors::Invalidate() {
  Xml_.reset();
  LongID_ = -1;
}

const std::vector<TyColorRun>& CyLineColors::RunsOf(int64_t Line,
                                                    std::vector<TyColorRun>& Scratch) {
  if (Line < 1 || Line > Document_.getLineCount() || Document_.getLine(Line).size() <= kLongLine) {
    ColorLine(Line, Scratch);
    return Scratch;
  }
  const TxItem* item = Document_.getTextList().getItems(Line);
  const int kind = static_cast<int>(Document_.getKind()) * 2 + (Dark_ ? 1 : 0);
  if (LongID_ != item->UniqueID || LongStackG_ != item->StackG || LongStackS_ != item->StackS ||
      LongKind_ != kind) {
    ColorLine(Line, LongRuns_);
    LongID_ = item->UniqueID;
    LongStackG_ = item->StackG;
    LongStackS_ = item->StackS;
    LongKind_ = kind;
  }
  return LongRuns_;
}

void CyLineColors::setDark(bool Dark) {
  if (Dark == Dark_) return;
  Dark_ = Dark;
  XmlScheme_ = Dark ? CyXMLColoring::DefaultDark() : CyXMLColoring::DefaultLight();
  XPathScheme_ = Dark ? CyXPathColoring::DefaultDark() : CyXPathColoring::DefaultLight();
  JsonScheme_ = Dark ? CyJSONColoring::DefaultDark() : CyJSONColoring::DefaultLight();
  Invalidate();
}

void CyLineColors::Prepare() {
  // The colourings only read the records; they take them mutable for their own parsers.
  auto& items = const_cast<TxTextItems&>(Document_.getTextList().getTextItems());
  const int kind = static_cast<int>(Document_.getKind());
  if (Xml_ && XmlItems_ == &items && XmlKind_ == kind) return;
  if (Document_.getKind() == TyDocumentKind::dkXSLT)
    Xml_ = std::make_unique<CyXSLTLineColoring>(items, XmlScheme_, XPathScheme_);
  else
    Xml_ = std::make_unique<CyXMLLineColoring>(items, XmlScheme_);
  XmlItems_ = &items;
  XmlKind_ = kind;
}

void CyLineColors::ColorLine(int64_t Line, std::vector<TyColorRun>& Runs) {
  Runs.clear();
  if (Line < 1 || Line > Document_.getLineCount()) return;
  const TyDocumentKind kind = Document_.getKind();
  if (kind == TyDocumentKind::dkText) return;
  if (kind == TyDocumentKind::dkJSON) {
    const TxItem* item = Document_.getTextList().getItems(Line);
    const char16_t* data = item->TextUTF16.getText();
    CyJSONTokenColoring walk(data, item->TextUTF16.Length);
    while (walk.Next()) {
      Runs.push_back({walk.Head() - data + 1, walk.Tail() - walk.Head(),
                      JsonScheme_.getItem(walk.Category())});
    }
    return;
  }
  if (!Document_.getKeepsLineStates()) return;
  Prepare();
  for (Xml_->FirstLine(Line); !Xml_->IsDone(); Xml_->Next()) {
    const int64_t start = Xml_->ItemLinepos();
    const int64_t end = start + Xml_->ItemTextCount();
    IyEmbeddedLineColoring* embedded = Xml_->getEmbedded();
    if (!embedded) {
      Runs.push_back(
          {start,
           end - start,
           {Xml_->ItemForegroundColor(), Xml_->ItemBackgroundColor(), Xml_->ItemStyles()}});
      continue;
    }
    // The embedded items cover the value on this line; gaps keep the value's own colour.
    int64_t at = start;
    const TyColorItem flat{Xml_->ItemForegroundColor(), Xml_->ItemBackgroundColor(),
                           Xml_->ItemStyles()};
    for (embedded->First(Line); !embedded->IsDone(); embedded->Next()) {
      int64_t head = std::max(embedded->ItemLinepos(), at);
      const int64_t tail = std::min(embedded->ItemLinepos() + embedded->ItemTextCount(), end);
      if (tail <= head) continue;
      if (head > at) Runs.push_back({at, head - at, flat});
      Runs.push_back({head,
                      tail - head,
                      {embedded->ItemForegroundColor(), embedded->ItemBackgroundColor(),
                       embedded->ItemStyles()}});
      at = tail;
    }
    if (at < end) Runs.push_back({at, end - at, flat});
  }
}

}  // namespace xylem
