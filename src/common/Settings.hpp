#pragma once
// The program-wide settings that the core modules read. Front ends fill them from the command
// line or a settings file before any work starts; the core only reads them.

#include <cstdint>
#include <string>

namespace xylem {

struct CySettings {
  // Parallel stages run one task per processor when true, one task when false.
  bool ParallelProcessing = true;
  // One level of indentation written by the formatters.
  std::u16string IndentationUnit = u"    ";
  // The application's name, as used in messages.
  std::string ApplicationName = "Xylem";
  // The most bytes read from a stream (standard input, a named pipe) before the read is
  // refused: a stream has no size to check beforehand, and /dev/zero never ends.
  uint64_t MaxStreamBytes = uint64_t{4} << 30;

  // Defaults of the XML formatting dialog, chosen to give what most users expect of a
  // one-line or badly indented document (the layout of xmllint --format): attributes on the
  // element's line, empty elements collapsed to "<e/>", mixed content kept on one line,
  // white-space-only lines and white-space-only element content removed, listed elements and
  // xml:space="preserve" kept verbatim. Bit i is value i of TyXMLFormattingOption
  // (ClearWhitespaceOnlyElements, FormatAttributes, FormatEmptyElements, FormatText,
  // RemoveWhitespaceOnlyLines): all set.
  uint32_t XMLFormattingOptions = 0x1F;
  // Bit i is value i of TyXMLLayoutOption (AttributesInline, EmptyElementAddSpaceBeforeSlash,
  // EmptyElementExpand, PreserveVerbatim, TextInline): AttributesInline, PreserveVerbatim and
  // TextInline.
  uint32_t XMLLayoutOptions = 0x19;
  // Elements whose content is kept verbatim, joined by "|": the usual pre-formatted ones of
  // XSLT, XHTML and DocBook.
  std::u16string XMLFormatterWordsP =
      u"xsl:text|pre|script|style|textarea|programlisting|screen|literallayout";
  // Elements formatted even inside a preserved one, joined by "|".
  std::u16string XMLFormatterWordsD;

  // The process's settings. Not thread-safe to change while a parallel stage runs.
  static CySettings& Get();
};

}  // namespace xylem
