#pragma once
// CySettingsDialog: the window's settings in two pages: the editor (font, size, tab width, word
// wrap, scheme, parallel processing) and the XML formatting choices (the formatting
// preferences' panel). It edits a copy; the window applies and saves what it returns.

#include <QDialog>

#include "app/Settings.hpp"

class QCheckBox;
class QComboBox;
class QFontComboBox;
class QSpinBox;

namespace xylem {

class CyFormatOptionsPanel;

class CySettingsDialog : public QDialog {
  Q_OBJECT

 public:
  explicit CySettingsDialog(const TyAppSettings& Settings, QWidget* Parent = nullptr);
  // The settings as the dialog shows them.
  TyAppSettings getSettings() const;

  QFontComboBox* getFontBox() const { return Font_; }
  QSpinBox* getFontSizeBox() const { return FontSize_; }
  QSpinBox* getTabWidthBox() const { return TabWidth_; }
  QCheckBox* getWordWrapBox() const { return WordWrap_; }
  QComboBox* getSchemeBox() const { return Scheme_; }
  QCheckBox* getParallelBox() const { return Parallel_; }
  CyFormatOptionsPanel* getFormatPanel() const { return Format_; }

 private:
  QFont BaseFont_;  // keeps what the boxes do not show (style hints, weight)
  QFontComboBox* Font_;
  QSpinBox* FontSize_;
  QSpinBox* TabWidth_;
  QCheckBox* WordWrap_;
  QComboBox* Scheme_;
  QCheckBox* Parallel_;
  CyFormatOptionsPanel* Format_;
};

}  // namespace xylem
