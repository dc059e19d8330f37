#pragma once
// The one-pass replace shared by plain and regular-expression replace: every match starting in
// [From, To) is replaced, the result streams into a FIFO, markers (the selection ends) follow
// the text they point at, and the counters report what changed.

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

#include "search/FIFO.hpp"
#include "search/RegExprSearcher.hpp"

namespace xylem {

// The options byte of search and replace.
enum TyReplaceOption : uint8_t {
  roCaseSensitive = 1,
  roForward = 2,  // replace rest: from the position to the end; clear: from the start up to it
  roRegExpr = 4,
  roWholeWordOnly = 8,  // plain text only
};

// A UTF-16 text with room for the look-behind window in front of it and a NUL behind it. A
// replace pass over it may overwrite the text in front of its search point (see
// CyReplacer::ReplaceConsuming), so the caller need not keep a second copy of a huge text.
class CyReplaceBuffer {
 public:
  // Room for Length units, zero-filled (fresh pages for large texts, so parallel writers take
  // their own faults).
  explicit CyReplaceBuffer(int64_t Length);
  ~CyReplaceBuffer();
  CyReplaceBuffer(const CyReplaceBuffer&) = delete;
  CyReplaceBuffer& operator=(const CyReplaceBuffer&) = delete;
  // The first unit of the text; kSpare writable units lie in front of it.
  char16_t* getText() { return Data_ + kSpare; }
  const char16_t* getText() const { return Data_ + kSpare; }
  // The text's length in code units.
  int64_t getLength() const { return Length_; }
  // Shortens the text to Length (<= the allocated length), moving the NUL.
  void setLength(int64_t Length);

  // Units of room in front of the text: the look-behind window.
  static constexpr int64_t kSpare = 128;

 private:
  char16_t* Data_;
  int64_t Length_;
  int64_t Capacity_;
};

class CyReplacer {
 public:
  // Code units of already replaced text a look-behind can see in front of the search point.
  static constexpr int64_t kLookBehind = 128;

  // A replacer owns its searcher and template; one pass at a time.
  virtual ~CyReplacer() = default;

  // Counts and positions only: finds and "replaces" every match starting in [From, To) of
  // Text[0, Length) as the FIFO form does, shifts Markers and sets the counters, but produces no
  // text. Returns false at once (counters 0) when From < 0, From > Length, From > To or
  // To > Length; otherwise true when ReplaceCount > 0. Not thread-safe (the searcher keeps
  // match state).
  bool Replace(const char16_t* Text, int64_t Length, int64_t From, int64_t To,
               std::span<int64_t> Markers, int64_t& DeltaCharCount, int64_t& MaxDeltaCharCount,
               int64_t& ReplaceCount);

  // As above, and writes the whole replaced text (Text[0, From) unchanged, the replaced range,
  // Text[To', Length) unchanged) into FIFO. This and every other form run the one pass
  // (Pass); a whole text is simply its only piece. Markers are offsets into Text on entry and into
  // the replaced text on return: a marker at or before a match's start stays, one inside a match
  // (after its start, up to its end) moves to the end of the replacement, one behind it moves
  // by the length change. DeltaCharCount is the total length change, MaxDeltaCharCount the
  // largest value the running change reached (never below 0). Text is only read; a
  // regular-expression pass works in a copy of it, in front of whose search point it writes
  // the replaced text for look-behind to see.
  bool Replace(const char16_t* Text, int64_t Length, int64_t From, int64_t To,
               std::span<int64_t> Markers, CyFIFOUTF16& FIFO, int64_t& DeltaCharCount,
               int64_t& MaxDeltaCharCount, int64_t& ReplaceCount);

  // The FIFO form without the copy: the pass uses the buffer's spare room as look-behind window
  // and overwrites units in front of its search point, so the buffer's text is garbage after.
  bool ReplaceConsuming(CyReplaceBuffer& Text, int64_t From, int64_t To, std::span<int64_t> Markers,
                        CyFIFOUTF16& FIFO, int64_t& DeltaCharCount, int64_t& MaxDeltaCharCount,
                        int64_t& ReplaceCount);

  // Replace all over a text that arrives in pieces, with the same result as the FIFO form over
  // the whole text when the text is well-formed UTF-16 (PCRE2 skips runs of lone surrogates
  // differently when a piece ends inside one). Source fills up to Capacity (at least 2) units
  // into Target and returns how many, 0 at the end; it must not split a surrogate pair. Sink
  // receives the replaced text in order, in pieces that never split a pair. Memory stays
  // bounded by PieceSize (units per refill; the default stays in cache, tests make it tiny) plus
  // the longest match still open at a piece's end. Returns ReplaceCount > 0.
  using TySource = std::function<int64_t(char16_t* Target, int64_t Capacity)>;
  using TySink = std::function<void(std::u16string_view Piece)>;
  bool ReplaceAllStreamed(const TySource& Source, const TySink& Sink, int64_t& ReplaceCount,
                          int64_t PieceSize = int64_t{1} << 18);

 protected:
  // Whether matching looks at replaced text in front of the search point (regular expressions).
  virtual bool NeedsLookBehind() const = 0;
  // The first match at or after Start in Subject[0, Length), not an empty one at Start when
  // NotEmptyAtStart; NotAtTextStart says Subject[0] is not the text's first unit. With
  // MoreFollows, srPartial gives the first start from which a match may need text behind
  // Length. Offsets are relative to Subject.
  virtual TySearchResult FindNext(const char16_t* Subject, int64_t Length, int64_t Start,
                                  bool NotEmptyAtStart, bool NotAtTextStart, bool MoreFollows,
                                  int64_t& MatchStart, int64_t& MatchEnd) = 0;
  // Appends the replacement for the match FindNext found last.
  virtual void WriteReplacement(CyFIFOUTF16& Out) = 0;

 private:
  // The one replace loop. Its text is either Whole[0, Length) (Source null; kLookBehind
  // writable units in front of it when NeedsLookBehind, as the pass writes replaced text
  // there) or what Source hands over in pieces of PieceSize. Matches starting in [From, To) are
  // replaced into Out; with a Sink, Out's settled front is handed to it as the pass goes and the
  // rest at the end.
  bool Pass(const TySource* Source, char16_t* Whole, int64_t Length, int64_t From, int64_t To,
            std::span<int64_t> Markers, CyFIFOUTF16& Out, const TySink* Sink, int64_t PieceSize,
            int64_t& DeltaCharCount, int64_t& MaxDeltaCharCount, int64_t& ReplaceCount);
};

}  // namespace xylem
