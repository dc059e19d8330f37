#pragma once
// The "XML Formatting Preferences" dialog: every formatter option, the elements kept verbatim
// or formatted inside verbatim ones, and the indentation unit. The choices are kept with
// QSettings (LoadFormatChoices / SaveFormatChoices) under "format/".

#include <QDialog>
#include <vector>

#include "editor/Format.hpp"

class QCheckBox;
class QLineEdit;
class QSpinBox;
class QComboBox;

namespace xylem {

// The remembered choices; the defaults of CySettings where nothing is stored.
TyFormatChoices LoadFormatChoices();
void SaveFormatChoices(const TyFormatChoices& Choices);

// The choices as editable widgets: the dialog's contents, also a page of the settings dialog.
class CyFormatOptionsPanel : public QWidget {
  Q_OBJECT

 public:
  explicit CyFormatOptionsPanel(const TyFormatChoices& Choices, QWidget* Parent = nullptr);
  // The choices as the panel shows them.
  TyFormatChoices getChoices() const;
  // The check box of formatting option Bit (TyXMLFormattingOptions' value order).
  QCheckBox* getFormattingBox(size_t Bit) const { return Formatting_.at(Bit); }

 private:
  std::vector<QCheckBox*> Formatting_;
  std::vector<QCheckBox*> Layout_;
  QLineEdit* WordsP_;
  QLineEdit* WordsD_;
  QComboBox* IndentKind_;
  QSpinBox* IndentSize_;
};

class CyFormatDialog : public QDialog {
  Q_OBJECT

 public:
  explicit CyFormatDialog(const TyFormatChoices& Choices, QWidget* Parent = nullptr);
  // The choices as the dialog shows them.
  TyFormatChoices getChoices() const { return Panel_->getChoices(); }

 private:
  CyFormatOptionsPanel* Panel_;
};

}  // namespace xylem
