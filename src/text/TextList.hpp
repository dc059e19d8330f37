#pragma once
// The in-memory form of a document's text: an ordered array of line records, each a slice of
// UTF-16 without its line end. The document's one newline ("\r\n", "\r" or "\n") is not stored
// here: a load returns it, the owner keeps it and passes it to the operations that need it.
//
// Lines are numbered 1 .. getCount(); offsets are 0-based UTF-16 code units over the whole
// text with every line end counting the newline's length. Not thread-safe: the editor thread
// edits; parallel stages run only inside the load methods.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "common/InputBytes.hpp"
#include "common/JobContext.hpp"
#include "text/Converter.hpp"
#include "text/Encoding.hpp"
#include "text/InputStream.hpp"
#include "text/TextItems.hpp"

namespace xylem {

// Hands out Count consecutive line identities and returns the first.
using TxCreateUniqueIDEvent = std::function<int64_t(int64_t Count)>;

// A process-wide TxCreateUniqueIDEvent (an atomic counter starting at 1), for owners that
// need identities without keeping a generator of their own. Thread-safe.
int64_t CreateProcessUniqueIDs(int64_t Count);

class TxTextList {
 public:
  TxTextList() = default;
  TxTextList(const TxTextList&) = delete;
  TxTextList& operator=(const TxTextList&) = delete;

  // ---- Loading. Each replaces the whole content and returns the document's newline. On any
  // failure (binary content, a NUL, an unsupported encoding, a declaration error) the list
  // keeps its previous content. PieceCount 0 means Job.PieceCount; tests pass others. Job also
  // takes the progress and may cancel the load (CyCancelledException; see
  // CyTextListLoader::LoadTextList_PARALLEL).

  // Loads Size bytes that lie behind any byte-order mark, in Encoding (UTF-8 and UTF-16LE are
  // split and decoded in parallel; others are decoded sequentially first). Invalid sequences
  // are reported to ErrorHandler (counting only when null). Throws CyException code 17 for
  // binary content (a NUL, or CyBinaryEncoding).
  std::u16string LoadFromDataEncoded__PARALLEL__(const uint8_t* Data, size_t Size,
                                                 const CyEncoding& Encoding,
                                                 CyUTF8ToCharErrorHandler* ErrorHandler = nullptr,
                                                 int PieceCount = 0, const TyJobContext& Job = {});
  // Loads the stream from its start. When EncodingFixed is false on entry the encoding is
  // detected (BaseURL's extension selects the DTD rules) and Encoding, EncodingFixed and
  // HasBOM are set; otherwise Encoding is used as given and only a matching byte-order mark
  // is skipped.
  std::u16string LoadFromBufferedInputStreamEncoded__PARALLEL__(
      const std::string& BaseURL, CyBufferedInputStream& BufferedInputStream,
      CyUTF8ToCharErrorHandler* ErrorHandler, CyEncoding& Encoding, bool& EncodingFixed,
      bool& HasBOM, int PieceCount = 0, const TyJobContext& Job = {});
  // Reads the file at Path (a regular file mapped, no copy; a named pipe read as a stream of
  // at most MaxStreamBytes) and loads it as the stream overload does. Throws CyException when
  // the file cannot be read.
  std::u16string LoadFromURL__PARALLEL__(const std::string& Path,
                                         CyUTF8ToCharErrorHandler* ErrorHandler,
                                         CyEncoding& Encoding, bool& EncodingFixed, bool& HasBOM,
                                         int PieceCount = 0, const TyJobContext& Job = {},
                                         uint64_t MaxStreamBytes = kDefaultMaxStreamBytes);
  // Loads text that is already UTF-16 (copied once into the list's own buffer).
  std::u16string LoadFromDataDecoded__PARALLEL__(std::u16string_view DataDecoded,
                                                 int PieceCount = 0, const TyJobContext& Job = {});
  std::u16string LoadFromText__PARALLEL__(std::u16string_view Text, int PieceCount = 0,
                                          const TyJobContext& Job = {}) {
    return LoadFromDataDecoded__PARALLEL__(Text, PieceCount, Job);
  }

  // ---- Saving.

  // Writes the lines joined by Newline to Path in Encoding: the byte-order mark always for
  // UTF-16LE/BE, for UTF-8 only when WithBOM. Atomic: writes a temporary file in the same
  // folder and renames it over Path (keeping an existing file's permissions). Throws
  // CyException (code 6009 when the target cannot be written, kErrorUnsupportedEncoding, or
  // 22 naming line and position of a character the encoding cannot represent).
  void SaveToURL(const std::string& Path, const CyEncoding& Encoding, bool WithBOM,
                 std::u16string_view Newline) const;
  // The bytes SaveToURL would write (mark included). Same errors but 6009.
  std::string getEncoded(const CyEncoding& Encoding, bool WithBOM,
                         std::u16string_view Newline) const;

  // ---- Line edits. Every insert and remove invalidates the cached totals first. Single-line
  // inserts copy Text into a private string and give the line fresh values and a new identity.

  void InsertBefore(int64_t Index, std::u16string_view Text);
  void InsertAfter(int64_t Index, std::u16string_view Text) { InsertBefore(Index + 1, Text); }
  void InsertAtBegin(std::u16string_view Text) { InsertBefore(1, Text); }
  void InsertAtEnd(std::u16string_view Text) { InsertBefore(getCount() + 1, Text); }
  // Inserts copies of lines FirstLine .. LastLine of Source before Index: every field is
  // copied except UniqueID, which is new; texts share Source's buffers. Source may be this.
  void InsertBefore(int64_t Index, const TxTextList& Source, int64_t FirstLine, int64_t LastLine);
  void InsertAfter(int64_t Index, const TxTextList& Source, int64_t FirstLine, int64_t LastLine) {
    InsertBefore(Index + 1, Source, FirstLine, LastLine);
  }
  void InsertAtBegin(const TxTextList& Source, int64_t FirstLine, int64_t LastLine) {
    InsertBefore(1, Source, FirstLine, LastLine);
  }
  void InsertAtEnd(const TxTextList& Source, int64_t FirstLine, int64_t LastLine) {
    InsertBefore(getCount() + 1, Source, FirstLine, LastLine);
  }
  // Removes Count lines from Index, releasing their texts.
  void Remove(int64_t Index, int64_t Count);
  void Remove(int64_t Index) { Remove(Index, 1); }
  void RemoveAtBegin() { Remove(1, 1); }
  void RemoveAtEnd() { Remove(getCount(), 1); }
  // Remove(Index, Count), then inserts all lines of Source before Index.
  void Replace(int64_t Index, int64_t Count, const TxTextList& Source);
  // Indent or outdent lines FirstLine .. FirstLine + Source.size() - 1: line k loses its
  // leading Source[k].size() characters and gets Target[k] in their place. A line whose text
  // does not change keeps its identity; the others get a private copy and a new identity (no
  // other field changes). Returns the number of lines changed.
  int64_t Dent(int64_t FirstLine, const std::vector<std::u16string>& Source,
               const std::vector<std::u16string>& Target);
  // Joins line Index + 1 onto line Index (which gets fresh values and a new identity) and
  // removes line Index + 1.
  void Merge(int64_t Index);
  // Splits line Index before 1-based position Where (1 .. length + 1); Where 1 and length + 1
  // insert an empty line before or after it and leave the line itself alone.
  void Split(int64_t Index, int64_t Where);
  void Clear();
  // Drops Count lines at the end.
  void Trim(int64_t Count) { Remove(getCount() - Count + 1, Count); }

  // ---- Identity.

  // 0 without a handler, else the handler's result for a count of 1.
  int64_t CreateUniqueID() { return CreateUniqueID(1); }
  // Reserves Count consecutive identities and returns the first (0 without a handler).
  int64_t CreateUniqueID(int64_t Count) { return OnCreateUniqueID_ ? OnCreateUniqueID_(Count) : 0; }
  const TxCreateUniqueIDEvent& getOnCreateUniqueID() const { return OnCreateUniqueID_; }
  void setOnCreateUniqueID(TxCreateUniqueIDEvent Handler) {
    OnCreateUniqueID_ = std::move(Handler);
  }

  // ---- Cached totals, computed over all lines on first read after InvalidateCache.

  void InvalidateCache();
  int64_t getAnchorLine() const { return AnchorLine_; }
  void setAnchorLine(int64_t Line) { AnchorLine_ = Line; }
  int64_t getAnchorRowCount() const { return AnchorRowCount_; }
  void setAnchorRowCount(int64_t Rows) { AnchorRowCount_ = Rows; }
  int64_t getTotalDelta();
  int64_t getTotalPanic();
  int64_t getTotalRowCount();

  // ---- The text as a whole.

  // All lines joined with "\r\n" whatever the document's newline (no byte-order mark).
  std::u16string getText() const { return _TextItems.getJoined(u"\r\n", 1, getCount()); }
  // Replaces the whole content as LoadFromText__PARALLEL__ does.
  void setText(std::u16string_view Text) { LoadFromText__PARALLEL__(Text); }
  // getText as UTF-16LE bytes.
  std::string getTextFIFOUTF16LE() const { return getFIFOUTF16LE(false, u"\r\n", 1, getCount()); }
  // Lines FirstLine .. LastLine joined by Newline as UTF-16LE bytes, optionally behind a mark.
  std::string getFIFOUTF16LE(bool WithBOM, std::u16string_view Newline, int64_t FirstLine,
                             int64_t LastLine) const {
    return _TextItems.getFIFOUTF16LE(WithBOM, Newline, FirstLine, LastLine);
  }
  int64_t getCount() const { return _TextItems.getCount(); }
  TxItem* getItems(int64_t Index) const { return _TextItems.getItems(Index); }
  // Line Index's characters (no range check).
  std::u16string_view getLine(int64_t Index) const { return getItems(Index)->TextUTF16.getView(); }
  TxTextItems& getTextItems() { return _TextItems; }
  const TxTextItems& getTextItems() const { return _TextItems; }
  // Alternate-data-stream bytes carried with the text; the list neither fills nor saves them.
  std::string& getADSStore() { return ADSStore_; }

  // Offset conversions over this list's lines; see TxTextItems. Linear walks.
  int64_t ConvertLineLineposToOffset(std::u16string_view Newline, int64_t Line,
                                     int64_t Linepos) const {
    int64_t offset = 0;
    _TextItems.ConvertLineLineposToOffset(Newline, Line, Linepos, offset);
    return offset;
  }
  void ConvertOffsetToLineLinepos(std::u16string_view Newline, int64_t Offset, int64_t& Line,
                                  int64_t& Linepos) const {
    _TextItems.ConvertOffsetToLineLinepos(Newline, Offset, Line, Linepos);
  }

 private:
  friend class CyTextListLoader;

  std::string ADSStore_;
  TxTextItems _TextItems;
  int64_t AnchorLine_ = 1;
  int64_t AnchorRowCount_ = 0;
  int64_t TotalDelta_ = -1;
  bool TotalDeltaValid_ = false;
  int64_t TotalPanic_ = -1;
  bool TotalPanicValid_ = false;
  int64_t TotalRowCount_ = -1;
  bool TotalRowCountValid_ = false;
  TxCreateUniqueIDEvent OnCreateUniqueID_;
};

}  // namespace xylem
