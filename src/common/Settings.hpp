#pragma once
// The user's settings, owned by the front end: it fills them from the command line or a
// settings file and hands what a job needs down per call (TyJobContext, formatting choices,
// writer options). Core modules never read them.

#include <cstdint>
#include <string>

#include "common/InputBytes.hpp"

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
  uint64_t MaxStreamBytes = kDefaultMaxStreamBytes;

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

  // The piece count parallel stages get: 1 with ParallelProcessing off, else one per processor.
  int getPieceCount() const;

  // The process's settings. Not thread-safe to change while a parallel stage runs.
  static CySettings& Get();
};

}  // namespace xylem
