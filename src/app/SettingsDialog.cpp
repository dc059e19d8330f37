#include "app/SettingsDialog.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFontComboBox>
#include <QFormLayout>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>

#include "app/FormatDialog.hpp"

namespace xylem {

CySettingsDialog::CySettingsDialog(const TyAppSettings& Settings, QWidget* Parent)
    : QDialog(Parent), BaseFont_(Settings.Font) {
  setWindowTitle(tr("Settings"));
  auto* layout = new QVBoxLayout(this);
  auto* pages = new QTabWidget(this);
  layout->addWidget(pages);

  auto* editor = new QWidget(pages);
  auto* form = new QFormLayout(editor);
  Font_ = new QFontComboBox(editor);
  Font_->setFontFilters(QFontComboBox::MonospacedFonts);
  Font_->setCurrentFont(Settings.Font);
  FontSize_ = new QSpinBox(editor);
  FontSize_->setRange(6, 72);
  FontSize_->setValue(Settings.Font.pointSize() > 0 ? Settings.Font.pointSize() : 10);
  TabWidth_ = new QSpinBox(editor);
  TabWidth_->setRange(1, 16);
  TabWidth_->setValue(Settings.TabWidth);
  WordWrap_ = new QCheckBox(tr("Wrap long lines at the window's width"), editor);
  WordWrap_->setChecked(Settings.WordWrap);
  Scheme_ = new QComboBox(editor);
  Scheme_->addItems({tr("Light"), tr("Dark")});
  Scheme_->setCurrentIndex(Settings.Dark ? 1 : 0);
  Parallel_ = new QCheckBox(tr("Use every processor for loading, checking and formatting"), editor);
  Parallel_->setChecked(Settings.Parallel);
  form->addRow(tr("Font:"), Font_);
  form->addRow(tr("Size:"), FontSize_);
  form->addRow(tr("Tab width:"), TabWidth_);
  form->addRow(tr("Word wrap:"), WordWrap_);
  form->addRow(tr("Color scheme:"), Scheme_);
  form->addRow(tr("Parallel processing:"), Parallel_);
  pages->addTab(editor, tr("Editor"));

  Format_ = new CyFormatOptionsPanel(Settings.Format, pages);
  pages->addTab(Format_, tr("XML Formatting"));

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  layout->addWidget(buttons);
}

TyAppSettings CySettingsDialog::getSettings() const {
  TyAppSettings settings;
  settings.Font = BaseFont_;
  settings.Font.setFamily(Font_->currentFont().family());
  settings.Font.setPointSize(FontSize_->value());
  settings.TabWidth = TabWidth_->value();
  settings.WordWrap = WordWrap_->isChecked();
  settings.Dark = Scheme_->currentIndex() == 1;
  settings.Parallel = Parallel_->isChecked();
  settings.Format = Format_->getChoices();
  return settings;
}

}  // namespace xylem
