#pragma once
// The file format asked for by Save As: encoding, byte-order mark and newline, shown with the
// document's current format.

#include <QDialog>

#include "text/TextFile.hpp"

class QCheckBox;
class QComboBox;

namespace xylem {

class CyFileFormatDialog : public QDialog {
  Q_OBJECT

 public:
  explicit CyFileFormatDialog(const TyTextFileFormat& Format, QWidget* Parent = nullptr);
  // The format as chosen (EncodingFixed set: the user named it). Raises CyException for an
  // encoding name neither the table nor iconv knows.
  TyTextFileFormat getFormat() const;

  QComboBox* getEncodingBox() const { return Encoding_; }
  QCheckBox* getBOMBox() const { return BOM_; }
  QComboBox* getNewlineBox() const { return Newline_; }

 private:
  QComboBox* Encoding_;
  QCheckBox* BOM_;
  QComboBox* Newline_;
};

}  // namespace xylem
