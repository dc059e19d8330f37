#include "app/FileFormatDialog.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>

namespace xylem {

namespace {

const char16_t* const kNewlines[] = {u"\r\n", u"\n", u"\r"};
const char* const kNewlineNames[] = {"CR LF (Windows)", "LF (Unix)", "CR (classic Mac)"};

}  // namespace

CyFileFormatDialog::CyFileFormatDialog(const TyTextFileFormat& Format, QWidget* Parent)
    : QDialog(Parent) {
  setWindowTitle(tr("File Format"));
  Encoding_ = new QComboBox(this);
  Encoding_->setEditable(true);  // any name iconv knows
  Encoding_->addItems({QStringLiteral("UTF-8"), QStringLiteral("UTF-16LE"),
                       QStringLiteral("UTF-16BE"), QStringLiteral("ISO-8859-1"),
                       QStringLiteral("windows-1252")});
  Encoding_->setCurrentText(QString::fromStdString(Format.Encoding.getName()));
  BOM_ = new QCheckBox(tr("Write a byte-order mark"), this);
  BOM_->setChecked(Format.HasBOM);
  Newline_ = new QComboBox(this);
  for (size_t i = 0; i < std::size(kNewlines); ++i) {
    Newline_->addItem(tr(kNewlineNames[i]));
    if (Format.Newline == kNewlines[i]) Newline_->setCurrentIndex(static_cast<int>(i));
  }
  auto* form = new QFormLayout(this);
  form->addRow(tr("Encoding:"), Encoding_);
  form->addRow(QString(), BOM_);
  form->addRow(tr("Line ends:"), Newline_);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  form->addRow(buttons);
}

TyTextFileFormat CyFileFormatDialog::getFormat() const {
  TyTextFileFormat format;
  format.Encoding = CyEncoding::FromName(Encoding_->currentText().trimmed().toStdString());
  format.HasBOM = BOM_->isChecked();
  format.EncodingFixed = true;
  format.Newline = kNewlines[std::max(0, Newline_->currentIndex())];
  return format;
}

}  // namespace xylem
