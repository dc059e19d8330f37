#pragma once
// The window's settings, kept with QSettings under the application's organisation and name:
// the editor font, tab width, word wrap, light or dark scheme, parallel processing (the piece
// count handed to loads and checks) and the "XML Formatting Preferences" choices. The front
// end reads them once and hands them down per call; the core reads no settings of its own.
//
// GUI thread only (QSettings of the application).

#include <QFont>

#include "editor/Format.hpp"

namespace xylem {

struct TyAppSettings {
  QFont Font;  // the system's fixed font where none is stored
  int TabWidth = 4;
  bool WordWrap = false;
  bool Dark = false;
  bool Parallel = true;  // off: every parallel stage runs in one piece
  TyFormatChoices Format;

  // The stored settings, defaults where nothing (or nothing valid) is stored.
  static TyAppSettings Load();
  void Save() const;
  // The pieces a parallel stage is cut into under these settings.
  int getPieceCount() const;
  bool operator==(const TyAppSettings& Other) const;
};

}  // namespace xylem
