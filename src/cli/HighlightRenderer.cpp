#include "cli/HighlightRenderer.hpp"

#include <cctype>

#include "common/Utf.hpp"

namespace xylem::cli {

namespace {

std::string hexColor(uint32_t Color) {
  char text[8];
  std::snprintf(text, sizeof text, "#%06x", Color & 0xFFFFFF);
  return text;
}

std::string ansiStart(const TyColorItem& Item) {
  std::string code = "\x1b[0";
  if (Item.Styles & fsBold) code += ";1";
  if (Item.Styles & fsItalic) code += ";3";
  if (Item.Styles & fsUnderline) code += ";4";
  auto rgb = [](uint32_t c) {
    return std::to_string((c >> 16) & 255) + ";" + std::to_string((c >> 8) & 255) + ";" +
           std::to_string(c & 255);
  };
  if (Item.Foreground != kNoColor) code += ";38;2;" + rgb(Item.Foreground);
  if (Item.Background != kNoColor) code += ";48;2;" + rgb(Item.Background);
  return code + "m";
}

constexpr size_t kBlockSize = size_t{1} << 20;

}  // namespace

std::string HighlightClassName(std::string_view Prefix, std::string_view CategoryName) {
  std::string name(Prefix);
  name += '-';
  for (char c : CategoryName)
    name += c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return name;
}

CyHighlightRenderer::CyHighlightRenderer(std::vector<TyHighlightStyle> Styles, bool Html, bool Dark,
                                         std::FILE* Out)
    : Styles_(std::move(Styles)), Html_(Html), Dark_(Dark), Out_(Out) {}

std::string CyHighlightRenderer::styleSheet(bool Dark) const {
  std::string css =
      Dark ? "body{background:#1e1e1e;color:#d4d4d4}" : "body{background:#fff;color:#000}";
  css += "pre{font-family:monospace}";
  for (const TyHighlightStyle& style : Styles_) {
    const TyColorItem& item = style.Item;
    css += "." + style.ClassName + "{";
    if (item.Foreground != kNoColor) css += "color:" + hexColor(item.Foreground) + ";";
    if (item.Background != kNoColor) css += "background:" + hexColor(item.Background) + ";";
    if (item.Styles & fsBold) css += "font-weight:bold;";
    if (item.Styles & fsItalic) css += "font-style:italic;";
    if (item.Styles & fsUnderline) css += "text-decoration:underline;";
    css += "}";
  }
  return css;
}

void CyHighlightRenderer::appendEscaped(std::u16string_view Text) {
  for (char c : ToUTF8(Text)) {
    switch (c) {
      case '<':
        Buffer_ += "&lt;";
        break;
      case '>':
        Buffer_ += "&gt;";
        break;
      case '&':
        Buffer_ += "&amp;";
        break;
      default:
        Buffer_ += c;
    }
  }
}

void CyHighlightRenderer::Begin(std::string_view Title) {
  if (!Html_) return;
  Buffer_ += "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>";
  appendEscaped(ToUTF16(Title));
  Buffer_ += "</title><style>" + styleSheet(Dark_) + "</style></head><body><pre>";
}

void CyHighlightRenderer::Append(size_t Style, const char16_t* Text, size_t Count) {
  if (Count == 0) return;
  if (Style != RunStyle_) flushRun();
  RunStyle_ = Style;
  Run_.append(Text, Count);
}

void CyHighlightRenderer::flushRun() {
  if (Run_.empty()) return;
  if (Html_) {
    Buffer_ += "<span class=\"" + Styles_[RunStyle_].ClassName + "\">";
    appendEscaped(Run_);
    Buffer_ += "</span>";
  } else {
    Buffer_ += ansiStart(Styles_[RunStyle_].Item);
    Buffer_ += ToUTF8(Run_);
  }
  Run_.clear();
  // A one-line document (minified JSON) must not be held whole.
  if (Buffer_.size() > kBlockSize) {
    std::fwrite(Buffer_.data(), 1, Buffer_.size(), Out_);
    Buffer_.clear();
  }
}

void CyHighlightRenderer::EndLine() {
  flushRun();
  if (!Html_) Buffer_ += "\x1b[0m";
  Buffer_ += '\n';
}

void CyHighlightRenderer::Finish() {
  flushRun();
  if (Html_) Buffer_ += "</pre></body></html>\n";
  std::fwrite(Buffer_.data(), 1, Buffer_.size(), Out_);
  Buffer_.clear();
}

}  // namespace xylem::cli
