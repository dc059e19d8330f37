#pragma once
// The view's own colours (background, default text, gutter, current line, selection, caret,
// errors) for the light and the dark scheme; token colours come from the colouring schemes.

#include <QColor>

namespace xylem {

struct TyViewTheme {
  QColor Background;
  QColor Foreground;
  QColor GutterBackground;
  QColor GutterForeground;
  QColor CurrentLine;
  QColor Selection;
  QColor Caret;
  QColor FoldMarker;
  QColor Error;
  QColor SearchMatch;
  QColor MatchingTag;

  static TyViewTheme Light() {
    return {QColor(QRgb(0xffffff)), QColor(QRgb(0x000000)), QColor(QRgb(0xf3f3f3)),
            QColor(QRgb(0x8a8a8a)), QColor(QRgb(0xfff8d8)), QColor(QRgb(0xadd6ff)),
            QColor(QRgb(0x000000)), QColor(QRgb(0x707070)), QColor(QRgb(0xe51400)),
            QColor(QRgb(0xffe27a)), QColor(QRgb(0xdcdcdc))};
  }
  static TyViewTheme Dark() {
    return {QColor(QRgb(0x1e1e1e)), QColor(QRgb(0xd4d4d4)), QColor(QRgb(0x252526)),
            QColor(QRgb(0x858585)), QColor(QRgb(0x2a2d2e)), QColor(QRgb(0x264f78)),
            QColor(QRgb(0xaeafad)), QColor(QRgb(0xa0a0a0)), QColor(QRgb(0xf14c4c)),
            QColor(QRgb(0x613214)), QColor(QRgb(0x3a3d41))};
  }
};

}  // namespace xylem
