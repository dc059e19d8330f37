#include "app/Settings.hpp"

#include <QFontDatabase>
#include <QSettings>
#include <algorithm>

#include "app/FormatDialog.hpp"
#include "common/Tasks.hpp"

namespace xylem {

TyAppSettings TyAppSettings::Load() {
  const QSettings settings;
  TyAppSettings loaded;
  loaded.Font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  loaded.Font.setStyleHint(QFont::TypeWriter);
  QFont stored;
  if (settings.contains("view/font") && stored.fromString(settings.value("view/font").toString()))
    loaded.Font = stored;
  loaded.TabWidth = std::clamp(settings.value("view/tabWidth", 4).toInt(), 1, 16);
  loaded.WordWrap = settings.value("view/wordWrap", false).toBool();
  loaded.Dark = settings.value("view/dark", false).toBool();
  loaded.Parallel = settings.value("processing/parallel", true).toBool();
  loaded.Format = LoadFormatChoices();
  return loaded;
}

void TyAppSettings::Save() const {
  QSettings settings;
  settings.setValue("view/font", Font.toString());
  settings.setValue("view/tabWidth", TabWidth);
  settings.setValue("view/wordWrap", WordWrap);
  settings.setValue("view/dark", Dark);
  settings.setValue("processing/parallel", Parallel);
  SaveFormatChoices(Format);
}

int TyAppSettings::getPieceCount() const { return Parallel ? CyTasks::ProcessorCount() : 1; }

bool TyAppSettings::operator==(const TyAppSettings& Other) const {
  const auto& a = Format.XML;
  const auto& b = Other.Format.XML;
  return Font == Other.Font && TabWidth == Other.TabWidth && WordWrap == Other.WordWrap &&
         Dark == Other.Dark && Parallel == Other.Parallel &&
         a.XMLFormattingOptions.Bits == b.XMLFormattingOptions.Bits &&
         a.XMLLayoutOptions.Bits == b.XMLLayoutOptions.Bits && a.WordsP == b.WordsP &&
         a.WordsD == b.WordsD && a.IndentationUnit == b.IndentationUnit;
}

}  // namespace xylem
