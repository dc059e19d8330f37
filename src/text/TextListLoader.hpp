#pragma once
// The parallel load of a text list: split the data into pieces at line ends, decode UTF-8
// pieces in parallel into one UTF-16 buffer, count line ends in parallel, choose the newline,
// size the record array once, and fill the records in parallel as slices of the one buffer
// (line ends overwritten by NUL in place, no copy per line).

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "common/JobContext.hpp"
#include "common/Utf.hpp"
#include "text/Converter.hpp"
#include "text/DecodeError.hpp"
#include "text/TextList.hpp"

namespace xylem {

// A byte range [Start, End) of the whole file's data.
struct CyDataPartUTF8 {
  const uint8_t* Start;
  const uint8_t* End;
};

// A code-unit range [Start, End) of the decoded buffer.
struct CyDataPartUTF16 {
  char16_t* Start;
  char16_t* End;
};

// One piece of a load; its two task bodies touch only its own range and records.
class CyTextListLoaderPiece {
 public:
  bool Binary = false;  // a NUL was found in the range
  CyDataPartUTF16 DataPartUTF16{};
  int64_t NewlineCount = 0;      // all line ends
  int64_t NewlineCount10 = 0;    // lone LF
  int64_t NewlineCount13 = 0;    // lone CR
  int64_t NewlineCount1310 = 0;  // CR LF pairs
  bool Last = false;             // the final piece adds the line behind its last line end
  TxTextList* TextList = nullptr;
  int64_t TextListOffset = 0;    // lines before this piece
  int64_t TextListUniqueID = 0;  // first identity reserved for its lines

  // Counts the line ends of the range; stops at once with Binary set at a NUL. Reports
  // progress to Job and polls its stop token every 64 K units.
  void CountNewlines(const TyJobContext& Job = {});
  // Fills records TextListOffset + 1 onward from the range, each a slice of Owner's buffer.
  // Returns the number of records written. Progress and stop polling as CountNewlines.
  int64_t FillTextList(CyTextOwner* Owner, const TyJobContext& Job = {});
};

class CyTextListLoaderPieces {
 public:
  std::vector<CyTextListLoaderPiece> Pieces;

  // Runs CountNewlines on every piece in parallel. Throws the binary-file error for the first
  // piece (in order) that met a NUL.
  void CountNewlines_PARALLEL(const TyJobContext& Job = {});
  // The newline from the summed counts (ChooseNewline).
  std::u16string DetectOS_NOT_PARALLEL() const;
  // The document's newline from its line-end counts: lone CR beats pairs first, then lone LF;
  // ties "\r\n". Every route that turns a file into a document chooses with this.
  static std::u16string ChooseNewline(int64_t LoneLF, int64_t LoneCR, int64_t Pairs);
  // Clears List and sizes it to all line ends + 1 records.
  void AllocateTextList_NOT_PARALLEL(TxTextList& List);
  // Hands out offsets and identity blocks in piece order, then fills in parallel. When a task
  // fails (cancelled) List is left empty.
  void FillTextList_PARALLEL(TxTextList& List, CyTextOwner* Owner, const TyJobContext& Job = {});
};

// Decodes UTF-8 parts in parallel into one buffer: part i lands at the same offset in code
// units as its bytes have in the data, so no part can overrun the next.
class CyUTF8DecoderParallel {
 public:
  struct CyUTFDecoderWorkerParam {
    CyDataPartUTF8 Source{};
    char16_t* Target = nullptr;
    TyUTF8DecodeResult Result{};  // FirstError counts from Source.Start
    bool Vanished = false;        // the mapped input shrank under the decoder
  };
  // Returns the decoded range of each part. Reports the summed error count to ErrorHandler
  // once. Throws the binary-file error at the first NUL; in ErrorHandler mode 1, the
  // undecodable-bytes error at the first invalid sequence; kErrorFileRead when the input
  // vanished (a mapped file that shrank). Data is read inside ReadMapped.
  static std::vector<CyDataPartUTF16> Decode(const std::vector<CyDataPartUTF8>& Parts,
                                             const uint8_t* Data, char16_t* Buffer,
                                             CyUTF8ToCharErrorHandler& ErrorHandler,
                                             const TyJobContext& Job = {});
};

class CyTextListLoader {
 public:
  // Loads Size bytes (behind any byte-order mark) in Encoding into List and returns the
  // newline. The bytes may be a file mapping: they are only read inside ReadMapped, and a file
  // that shrinks meanwhile fails the load with kErrorFileRead. Bytes that do not decode are
  // counted by ErrorHandler, or refused in its mode 1 (CyDecodeException, code 21, with the
  // position of the first bad byte); a NUL fails with code 17 and its position. AfterDecode, when
  // given, runs once the input bytes are no longer needed (a mapped file can be unmapped before the
  // records are allocated). PieceCount 0 means Job.PieceCount. Progress goes to Job ("Loading");
  // its stop token is polled every 64 K units and ends the load with CyCancelledException. List is
  // unchanged when this throws, except when cancelled while the records are filled: it is then
  // left empty.
  static std::u16string LoadTextList_PARALLEL(TxTextList& List, const uint8_t* Data, size_t Size,
                                              const CyEncoding& Encoding,
                                              CyUTF8ToCharErrorHandler* ErrorHandler,
                                              int PieceCount,
                                              const std::function<void()>& AfterDecode = {},
                                              const TyJobContext& Job = {});
  // Loads Units code units of Owner's buffer (NUL behind them); takes over the caller's
  // reference to Owner in every case.
  static std::u16string LoadDecoded_PARALLEL(TxTextList& List, CyTextOwner* Owner, size_t Units,
                                             int PieceCount, const TyJobContext& Job = {});
  // Part boundaries over [Data, Data + Size): at most Count parts, each ending just behind a
  // line end (never inside CR LF), empty trailing parts dropped. Returns Size-relative offsets
  // starting with 0 and ending with Size; a single part for empty data.
  static std::vector<size_t> SplitBoundaries(const uint8_t* Data, size_t Size, int Count);
  static std::vector<size_t> SplitBoundaries(const char16_t* Data, size_t Size, int Count);
};

}  // namespace xylem
