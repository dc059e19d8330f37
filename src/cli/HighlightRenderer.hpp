#pragma once
// Writing colored text for `xylem highlight`, whatever the language: a self-contained HTML page
// whose CSS classes are named after the scheme's categories, or terminal color escapes.

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "common/Color.hpp"

namespace xylem::cli {

// One category of a scheme as the renderer needs it.
struct TyHighlightStyle {
  std::string ClassName;  // CSS class, such as "xml-start-tag-marker"
  TyColorItem Item;
};

// "Start-tag marker" with prefix "xml" -> "xml-start-tag-marker".
std::string HighlightClassName(std::string_view Prefix, std::string_view CategoryName);

// Appends a style per category of Scheme (a CyColorScheme with a static getCategoryName), in
// the categories' order, with class names under Prefix.
template <typename Scheme>
void AppendHighlightStyles(std::vector<TyHighlightStyle>& Styles, std::string_view Prefix,
                           const Scheme& Colors) {
  for (size_t i = 0; i < Scheme::kCategoryCount; ++i) {
    const auto category = static_cast<typename Scheme::TyCategory>(i);
    Styles.push_back(
        {HighlightClassName(Prefix, Scheme::getCategoryName(category)), Colors.getItem(category)});
  }
}

// Collects stretches of text by style and writes them to a stdio stream in blocks of about
// 1 MiB. Neighbouring stretches of one style become one span (one escape sequence). Not
// thread-safe.
class CyHighlightRenderer {
 public:
  // Styles are indexed by the scheme's category numbers. Html writes a page (with Dark picking
  // the page colors), otherwise ANSI 24-bit color escapes.
  CyHighlightRenderer(std::vector<TyHighlightStyle> Styles, bool Html, bool Dark, std::FILE* Out);

  // Starts the page (HTML: head, style sheet, Title). Call once, first.
  void Begin(std::string_view Title);
  // Adds Count characters of Text (no line breaks) in style number Style.
  void Append(size_t Style, const char16_t* Text, size_t Count);
  // Ends the current line (ANSI: resets the colors first).
  void EndLine();
  // Ends the page and writes out what is still held.
  void Finish();

 private:
  void flushRun();
  void appendEscaped(std::u16string_view Text);
  std::string styleSheet(bool Dark) const;

  std::vector<TyHighlightStyle> Styles_;
  bool Html_;
  bool Dark_;
  std::FILE* Out_;
  std::string Buffer_;
  std::u16string Run_;
  size_t RunStyle_ = 0;
};

}  // namespace xylem::cli
