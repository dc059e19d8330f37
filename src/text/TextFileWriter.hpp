#pragma once
// CyTextFileWriter: streams UTF-16 text into a file in a document's format (encoding and
// byte-order mark; the caller writes its newline with PutNewline), so that a formatted result
// of any size is written without first holding it, or its bytes, in memory.
//
//   CyTextFileWriter out(path, format);  // a temporary file beside path
//   out.Put(u"<a>"); out.PutNewline(); ...
//   out.Commit();                        // renamed over path; until then path is untouched
//
// A UTF-16 file always gets its mark, UTF-8 only with HasBOM, other encodings never.
//
// Every write is checked (a full disk, a closed pipe, an I/O error): the first failure throws,
// and an unfinished temporary file is removed, also when the process is interrupted by a signal
// (CyTemporaryFiles::RemoveOnSignals).

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/TextSink.hpp"
#include "text/Converter.hpp"
#include "text/TextFile.hpp"

namespace xylem {

// How a path is rewritten. Either way the whole result is first written to a temporary file
// beside it, so a refusal or a full disk leaves the original as it was.
enum class TyInPlaceWrite {
  // The temporary file is renamed over the path (atomic). It gets the old file's permissions,
  // owner and group (as far as the process may set them), extended attributes and ACLs; but it
  // is a new file, so other hard links keep the old content (as with sed -i).
  ipwRename,
  // The finished result is copied into the existing file, which keeps its identity, all its
  // links and its metadata. Space is reserved before the first byte changes; should a write
  // still fail, the message names the temporary file, which then keeps the whole result.
  ipwKeepLinks,
};

class CyTextFileWriter : public IyTextSink {
 public:
  // Writes to Path (the file a symbolic link points to) through a temporary file in the same
  // folder, committed as Mode says. Throws CyException 6009 when the temporary file cannot be
  // created.
  CyTextFileWriter(const std::string& Path, const TyTextFileFormat& Format,
                   TyInPlaceWrite Mode = TyInPlaceWrite::ipwRename);
  // Writes to an open descriptor (not closed here, never renamed); Name is used in messages.
  // Without WithMark no byte-order mark is written (for a part of a text written in parts).
  CyTextFileWriter(int Descriptor, std::string Name, const TyTextFileFormat& Format,
                   bool WithMark = true);
  // Appends to Bytes in memory.
  CyTextFileWriter(std::string& Bytes, const TyTextFileFormat& Format);
  // Removes the temporary file unless Commit succeeded.
  ~CyTextFileWriter() override;
  CyTextFileWriter(const CyTextFileWriter&) = delete;
  CyTextFileWriter& operator=(const CyTextFileWriter&) = delete;

  // Appends Text (line ends in it should be the format's newline, so that messages name the
  // right line). Throws CyException 22 naming the line and position of a character the encoding
  // cannot represent, 6009 when the destination refuses the bytes.
  void Put(std::u16string_view Text) override {
    if (Text.size() >= kBufferUnits - Used_) {
      putLarge(Text);
      return;
    }
    std::char_traits<char16_t>::copy(Buffer_ + Used_, Text.data(), Text.size());
    Used_ += Text.size();
  }
  // Appends the format's newline.
  void PutNewline();
  // Appends bytes already in this writer's encoding (after what was put before).
  void PutEncoded(std::string_view Bytes);
  // Appends everything in the file open at Descriptor (from its start): bytes already in this
  // writer's encoding, such as a part written by another writer.
  void AppendEncoded(int Descriptor);
  // Writes out what is buffered; for a path, syncs the file and commits it as the mode says.
  // Nothing may be put afterwards.
  void Commit();

 private:
  static constexpr size_t kBufferUnits = 32768;
  // Everything but the destination; the mark waits in the byte buffer.
  CyTextFileWriter(const TyTextFileFormat& Format, std::string Name);
  void putLarge(std::u16string_view Text);
  // Encodes the buffer (holding back a trailing high surrogate unless Final) and writes it.
  void drain(bool Final);
  // Encodes Text (no split pair at its end unless the text ends there) and writes it out.
  void emit(std::u16string_view Text);
  // Moves the line count (kept for messages) past Text, the next units to be drained.
  void countLines(std::u16string_view Text);
  void writeBytes();
  void writeAll(std::string_view Bytes);
  [[noreturn]] void failed(int Error) const;
  // Gives the temporary file the target's owner, group, permissions and extended attributes.
  void keepMetadata();
  // ipwKeepLinks: copies the finished temporary file into the target.
  void commitThrough(const struct stat& Target);
  void dropTemporary();

  CyTextEncoder Encoder_;
  std::u16string Newline_;
  std::string EncodingName_;
  bool CanFail_;
  bool Utf8_;
  std::string Encoded_;     // UTF-8 output of one emit
  std::string Name_;        // the path or name for messages
  std::string Target_;      // the file renamed over (paths only)
  std::string Temporary_;   // the temporary file (paths only; empty once renamed)
  int TemporarySlot_ = -1;  // its entry in CyTemporaryFiles
  TyInPlaceWrite Mode_ = TyInPlaceWrite::ipwRename;
  int Fd_ = -1;
  std::string* Memory_ = nullptr;
  std::string Bytes_;
  int64_t Line_ = 1;           // line of the first unit not yet drained (for messages)
  uint64_t LineStart_ = 0;     // index of the first unit of that line
  uint64_t UnitsDrained_ = 0;  // units encoded so far
  size_t Used_ = 0;
  char16_t Buffer_[kBufferUnits];
};

// Puts every line of List into Out, the format's newline between lines (none after the last).
void PutTextList(const TxTextList& List, CyTextFileWriter& Out);

}  // namespace xylem
