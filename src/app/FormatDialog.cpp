#include "app/FormatDialog.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QSettings>
#include <QSpinBox>
#include <QVBoxLayout>

#include "common/Settings.hpp"

namespace xylem {

namespace {

// Labels in the order of the option enumerations (bit i is value i).
const char* const kFormattingLabels[] = {"Clear white-space-only elements", "Format attributes",
                                         "Format empty elements", "Format text",
                                         "Remove white-space-only lines"};
const char* const kLayoutLabels[] = {"Attributes inline", "Space before \"/>\" of empty elements",
                                     "Expand empty elements", "Preserve verbatim elements",
                                     "Text inline"};

QString FromU16(const std::u16string& Text) {
  return QString::fromUtf16(Text.data(), static_cast<qsizetype>(Text.size()));
}

std::u16string ToU16(const QString& Text) {
  return std::u16string(reinterpret_cast<const char16_t*>(Text.utf16()),
                        static_cast<size_t>(Text.size()));
}

}  // namespace

TyFormatChoices LoadFormatChoices() {
  const CySettings defaults;
  QSettings settings;
  TyFormatChoices choices;
  auto& xml = choices.XML;
  xml.XMLFormattingOptions = TyXMLFormattingOptions::FromBits(
      settings.value("format/formatting", defaults.XMLFormattingOptions).toUInt());
  xml.XMLLayoutOptions = TyXMLLayoutOptions::FromBits(
      settings.value("format/layout", defaults.XMLLayoutOptions).toUInt());
  xml.WordsP =
      ToU16(settings.value("format/wordsP", FromU16(defaults.XMLFormatterWordsP)).toString());
  xml.WordsD =
      ToU16(settings.value("format/wordsD", FromU16(defaults.XMLFormatterWordsD)).toString());
  xml.IndentationUnit =
      ToU16(settings.value("format/indent", FromU16(defaults.IndentationUnit)).toString());
  if (xml.IndentationUnit.empty()) xml.IndentationUnit = defaults.IndentationUnit;
  choices.JSON.IndentationUnit = xml.IndentationUnit;
  return choices;
}

void SaveFormatChoices(const TyFormatChoices& Choices) {
  QSettings settings;
  settings.setValue("format/formatting", Choices.XML.XMLFormattingOptions.Bits);
  settings.setValue("format/layout", Choices.XML.XMLLayoutOptions.Bits);
  settings.setValue("format/wordsP", FromU16(Choices.XML.WordsP));
  settings.setValue("format/wordsD", FromU16(Choices.XML.WordsD));
  settings.setValue("format/indent", FromU16(Choices.XML.IndentationUnit));
}

CyFormatDialog::CyFormatDialog(const TyFormatChoices& Choices, QWidget* Parent) : QDialog(Parent) {
  setWindowTitle(QStringLiteral("XML Formatting Preferences"));
  auto* layout = new QVBoxLayout(this);
  Panel_ = new CyFormatOptionsPanel(Choices, this);
  layout->addWidget(Panel_);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  layout->addWidget(buttons);
}

CyFormatOptionsPanel::CyFormatOptionsPanel(const TyFormatChoices& Choices, QWidget* Parent)
    : QWidget(Parent) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  auto group = [&](const QString& Title, const char* const* Labels, size_t Count, uint32_t Bits,
                   std::vector<QCheckBox*>& Boxes) {
    auto* box = new QGroupBox(Title, this);
    auto* inner = new QVBoxLayout(box);
    for (size_t i = 0; i < Count; ++i) {
      auto* check = new QCheckBox(tr(Labels[i]), box);
      check->setChecked((Bits >> i) & 1u);
      inner->addWidget(check);
      Boxes.push_back(check);
    }
    layout->addWidget(box);
  };
  group(tr("Formatting"), kFormattingLabels, std::size(kFormattingLabels),
        Choices.XML.XMLFormattingOptions.Bits, Formatting_);
  group(tr("Layout"), kLayoutLabels, std::size(kLayoutLabels), Choices.XML.XMLLayoutOptions.Bits,
        Layout_);
  auto* form = new QFormLayout;
  WordsP_ = new QLineEdit(FromU16(Choices.XML.WordsP), this);
  WordsD_ = new QLineEdit(FromU16(Choices.XML.WordsD), this);
  IndentKind_ = new QComboBox(this);
  IndentKind_->addItems({tr("Spaces"), tr("Tab")});
  IndentSize_ = new QSpinBox(this);
  IndentSize_->setRange(1, 16);
  const std::u16string& unit = Choices.XML.IndentationUnit;
  const bool tab = !unit.empty() && unit[0] == u'\t';
  IndentKind_->setCurrentIndex(tab ? 1 : 0);
  IndentSize_->setValue(tab ? 4 : std::max<int>(1, static_cast<int>(unit.size())));
  IndentSize_->setEnabled(!tab);
  connect(IndentKind_, &QComboBox::currentIndexChanged, this,
          [this](int Index) { IndentSize_->setEnabled(Index == 0); });
  form->addRow(tr("Elements kept verbatim (a|b):"), WordsP_);
  form->addRow(tr("Elements formatted inside verbatim ones:"), WordsD_);
  form->addRow(tr("Indentation:"), IndentKind_);
  form->addRow(tr("Spaces per level:"), IndentSize_);
  layout->addLayout(form);
}

TyFormatChoices CyFormatOptionsPanel::getChoices() const {
  TyFormatChoices choices;
  uint32_t bits = 0;
  for (size_t i = 0; i < Formatting_.size(); ++i)
    bits |= (Formatting_[i]->isChecked() ? 1u : 0u) << i;
  choices.XML.XMLFormattingOptions = TyXMLFormattingOptions::FromBits(bits);
  bits = 0;
  for (size_t i = 0; i < Layout_.size(); ++i) bits |= (Layout_[i]->isChecked() ? 1u : 0u) << i;
  choices.XML.XMLLayoutOptions = TyXMLLayoutOptions::FromBits(bits);
  choices.XML.WordsP = ToU16(WordsP_->text());
  choices.XML.WordsD = ToU16(WordsD_->text());
  choices.XML.IndentationUnit =
      IndentKind_->currentIndex() == 1
          ? std::u16string(u"\t")
          : std::u16string(static_cast<size_t>(IndentSize_->value()), u' ');
  choices.JSON.IndentationUnit = choices.XML.IndentationUnit;
  return choices;
}

}  // namespace xylem
