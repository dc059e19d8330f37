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
    : styles_(std::move(Styles)), html_(Html), dark_(Dark), out_(Out) {}

std::string CyHighlightRenderer::styleSheet(bool Dark) const {
  std::string css =
      Dark ? "body{background:#1e1e1e;color:#d4d4d4}" : "body{background:#fff;color:#000}";
  css += "pre{font-family:monospace}";
  for (const TyHighlightStyle& style : styles_) {
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
        buffer_ += "&lt;";
        break;
      case '>':
        buffer_ += "&gt;";
        break;
      case '&':
        buffer_ += "&amp;";
        break;
      default:
        buffer_ += c;
    }
  }
}

void CyHighlightRenderer::Begin(std::string_view Title) {
  if (!html_) return;
  buffer_ += "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>";
  appendEscaped(ToUTF16(Title));
  buffer_ += "</title><style>" + styleSheet(dark_) + "</style></head><body><pre>";
}

void CyHighlightRenderer::Append(size_t Style, const char16_t* Text, size_t Count) {
  if (Count == 0) return;
  if (Style != runStyle_) flushRun();
  runStyle_ = Style;
  run_.append(Text, Count);
}

void CyHighlightRenderer::flushRun() {
  if (run_.empty()) return;
  if (html_) {
    buffer_ += "<span class=\"" + styles_[runStyle_].ClassName + "\">";
    appendEscaped(run_);
    buffer_ += "</span>";
  } else {
    buffer_ += ansiStart(styles_[runStyle_].Item);
    buffer_ += ToUTF8(run_);
  }
  run_.clear();
  // A one-line document (minified JSON) must not be held whole.
  if (buffer_.size() > kBlockSize) {
    std::fwrite(buffer_.data(), 1, buffer_.size(), out_);
    buffer_.clear();
  }
}

void CyHighlightRenderer::EndLine() {
  flushRun();
  if (!html_) buffer_ += "\x1b[0m";
  buffer_ += '\n';
}

void CyHighlightRenderer::Finish() {
  flushRun();
  if (html_) buffer_ += "</pre></body></html>\n";
  std::fwrite(buffer_.data(), 1, buffer_.size(), out_);
  buffer_.clear();
}

}  // namespace xylem::cli
