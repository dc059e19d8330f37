// CyXMLFormatter::FormatToFile__PARALLEL__: formatting a whole file without a tree. A first
// pass finds which elements have text; the second scans the document again and writes each
// node as its construct ends. A big document is cut into pieces: the first pass scans them at
// once and joins what they found, then one writer per piece starts at the piece's first start
// tag with the open elements rebuilt from the join, and ends where the next one starts. Each
// part goes to a temporary file, appended to the output once every part is done, so a refusal
// found anywhere writes nothing. Anything a piece could not know sends the document through
// one pass of each kind, which gives the exact refusal.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "common/Exception.hpp"
#include "xml/format/Formatter.hpp"
#include "xml/format/NodeScanner.hpp"
#include "xml/format/RawXMLContentScan.hpp"
#include "xml/format/WriterFileStream.hpp"

namespace xylem {

namespace {

using detail::CyXMLNodeScanner;
using detail::NT;
using detail::TyWhere;
using detail::TyXMLContentPiece;
using detail::TyXMLOpenElement;
using detail::TyXMLScannedTag;

// A part met what the first pass did not foresee: the parts are abandoned.
struct TyPartMismatch {};

bool Before(TyWhere A, TyWhere B) { return A.Line < B.Line || (A.Line == B.Line && A.P < B.P); }

// The first pass of the one-pass route: which elements have text, by start-tag ordinal, with
// every refusal the scanner makes.
class CyHasTextSink {
 public:
  explicit CyHasTextSink(std::vector<uint8_t>& HasText) : HasText_(HasText) {}
  void Text(std::span<const TyXMLDOMPiece>, bool HasText) {
    if (HasText) Mark();
  }
  void Delimited(NT Type, std::span<const TyXMLDOMPiece>) {
    if (Type == NT::ntRefChar || Type == NT::ntRefEntity) Mark();
  }
  void StartTag(const TyXMLScannedTag& Tag) {
    if (!Tag.Empty) Open_.push_back(HasText_.size());
    HasText_.push_back(0);
  }
  void EndTag(std::span<const TyXMLDOMPiece>) { Open_.pop_back(); }
  void OuterEndTag(std::u16string_view, TyWhere) {}
  bool Stopped() const { return false; }

 private:
  void Mark() {
    if (!Open_.empty()) HasText_[Open_.back()] = 1;
  }
  std::vector<uint8_t>& HasText_;
  std::vector<size_t> Open_;
};

// The second pass: the scanner's nodes into the event writer. Muted until the start tag at
// From (when set), stopped at the one at Until (when set).
class CyStreamSink {
 public:
  CyStreamSink(CyXMLEventWriter& Writer, const std::vector<uint8_t>& HasText)
      : Writer_(Writer), HasText_(HasText) {}

  void setRange(TyWhere From, TyWhere Until) {
    From_ = From;
    Until_ = Until;
    if (From_.Line) Writer_.setMuted(true);
  }
  // The scanner's open elements, whose names are kept where the part starts and stops.
  void watch(const std::vector<TyXMLOpenElement>& Open) { Open_ = &Open; }
  // The names of the elements open before the first and after the last start tag of the part.
  const std::vector<std::u16string_view>& getOpenAtStart() const { return OpenAtStart_; }
  const std::vector<std::u16string_view>& getOpenAtStop() const { return OpenAtStop_; }

  void Text(std::span<const TyXMLDOMPiece> Pieces, bool HasText) {
    Writer_.Text(Pieces, Pieces.size(), HasText);
  }
  void Delimited(NT Type, std::span<const TyXMLDOMPiece> Inner) { Writer_.Delimited(Type, Inner); }
  void StartTag(const TyXMLScannedTag& Tag) {
    if (Until_.Line && !Before(Tag.Start, Until_)) {
      if (Tag.Start != Until_) throw TyPartMismatch();
      Writer_.StopBeforeElement();
      Stopped_ = true;
      Keep(OpenAtStop_);
      return;
    }
    if (From_.Line) {  // the first start tag of the part
      if (Tag.Start != From_) throw TyPartMismatch();
      Writer_.StopBeforeElement();
      Writer_.setMuted(false);
      From_ = {};
      Keep(OpenAtStart_);
    }
    if (Ordinal_ >= HasText_.size()) throw TyPartMismatch();
    TyXMLStartTag tag = Tag;
    tag.HasText = HasText_[Ordinal_++] != 0;
    Writer_.StartElement(tag);
  }
  void EndTag(std::span<const TyXMLDOMPiece> AsWritten) { Writer_.EndElement(AsWritten); }
  void OuterEndTag(std::u16string_view, TyWhere) { throw TyPartMismatch(); }
  bool Stopped() const { return Stopped_; }

 private:
  void Keep(std::vector<std::u16string_view>& Names) const {
    if (Open_)
      for (const TyXMLOpenElement& e : *Open_) Names.push_back(e.Name);
  }

  CyXMLEventWriter& Writer_;
  const std::vector<uint8_t>& HasText_;
  const std::vector<TyXMLOpenElement>* Open_ = nullptr;
  std::vector<std::u16string_view> OpenAtStart_, OpenAtStop_;
  size_t Ordinal_ = 0;
  TyWhere From_, Until_;
  bool Stopped_ = false;
};

struct TyFileCloser {
  void operator()(std::FILE* File) const { std::fclose(File); }
};

// The line break of a source whose last line is empty (it ended with a line end).
void WriteFinalLineBreak(const TxTextList& TextList, CyTextFileWriter& Out) {
  const int64_t count = TextList.getCount();
  if (count > 1 && TextList.getItems(count)->TextUTF16.Length == 0) Out.PutNewline();
}

// How far past an even share a piece start is looked for, in characters.
constexpr int64_t kPieceStartSearchUnits = int64_t{1} << 20;

// Where the pieces of a big document begin: near even shares of its characters, at a line
// that follows a line ending with ">" and begins with "<", or inside a line at a "<" right
// after a ">", so that a one-line document is cut too. The first is the document's start.
std::vector<TyWhere> PieceStarts(const TxTextList& List, int PieceCount, int64_t MinPieceUnits) {
  const int64_t count = List.getCount();
  // A line's characters and its line end.
  auto units = [&List](int64_t Line) {
    return static_cast<int64_t>(List.getItems(Line)->TextUTF16.Length) + 1;
  };
  int64_t total = 0;
  for (int64_t line = 1; line <= count; ++line) total += units(line);
  PieceCount = static_cast<int>(
      std::min<int64_t>(std::max(PieceCount, 1), total / std::max<int64_t>(MinPieceUnits, 1)));
  std::vector<TyWhere> starts{{1, count ? List.getItems(1)->TextUTF16.getText() : nullptr}};
  int64_t line = 1, lineFirst = 0;  // lineFirst: the units before line
  for (int i = 1; i < PieceCount; ++i) {
    const int64_t target = total * i / PieceCount;
    while (line < count && lineFirst + units(line) <= target) lineFirst += units(line++);
    int64_t budget = kPieceStartSearchUnits;
    for (int64_t l = line; l <= count && budget > 0; ++l) {
      const char16_t* text = List.getItems(l)->TextUTF16.getText();
      const int64_t length = units(l) - 1;
      if (l > line && l > starts.back().Line && detail::IsXMLPieceStart(List, l)) {
        starts.push_back({l, text});
        break;
      }
      const int64_t from = l == line ? std::max<int64_t>(target - lineFirst, 1) : 1;
      const char16_t* p = nullptr;
      for (int64_t at = from; at < length && budget > 0; ++at, --budget)
        if (text[at] == u'<' && text[at - 1] == u'>') {
          p = text + at;
          break;
        }
      budget -= 1;
      if (p && (l > starts.back().Line || p > starts.back().P)) {
        starts.push_back({l, p});
        break;
      }
    }
  }
  return starts;
}

// An element open where a piece starts, as the join of the first pass sees it.
struct TyJoinedOpen {
  size_t Piece;
  detail::TyXMLContentOpen Open;
};

class CyPartsFormatter {
 public:
  CyPartsFormatter(const TxTextList& List, const TyXMLFormatterChoices& Choices,
                   const CyXMLWordList& WordsD, const CyXMLWordList& WordsP,
                   const TyJobContext& Job)
      : List_(List), Choices_(Choices), WordsD_(WordsD), WordsP_(WordsP), Job_(Job) {}

  // False when the document must go through the one-pass route instead.
  bool Run(CyTextFileWriter& Out, const TyTextFileFormat& Format,
           const std::vector<TyWhere>& Starts) {
    Starts_ = Starts;
    const size_t n = Starts_.size();
    Pieces_.assign(n, {});
    Job_.RunAll(static_cast<int>(n), [&](int i) {
      const size_t k = static_cast<size_t>(i);
      detail::ScanRawXMLContent(List_, Starts_[k], End(k), Pieces_[k], &Job_);
    });
    if (!Join()) return false;

    std::vector<size_t> writers{0};  // pieces a writer starts in
    for (size_t k = 1; k < n; ++k)
      if (Pieces_[k].FirstStart.Line) writers.push_back(k);
    std::vector<std::unique_ptr<std::FILE, TyFileCloser>> files(writers.size());
    for (auto& file : files) {
      file.reset(std::tmpfile());
      if (!file) throw CyException("No temporary file for formatting in parts.", kErrorFileWrite);
    }
    std::vector<char> failed(writers.size(), 0);
    OpenAtStart_.assign(writers.size(), {});
    OpenAtStop_.assign(writers.size(), {});
    Job_.RunAll(static_cast<int>(writers.size()), [&](int w) {
      const size_t i = static_cast<size_t>(w);
      const size_t next = i + 1 < writers.size() ? writers[i + 1] : n;
      try {
        CyTextFileWriter file(fileno(files[i].get()), "temporary file", Format, false);
        WritePart(file, writers[i], next, OpenAtStart_[i], OpenAtStop_[i]);
        file.Commit();
      } catch (const CyXMLFormatException&) {
        failed[i] = 1;
      } catch (const TyPartMismatch&) {
        failed[i] = 1;
      }
    });
    for (const char f : failed)
      if (f) return false;
    // Each part found open what the part before it left open: the names the first pass gave
    // the writer were the scanner's.
    for (size_t i = 0; i + 1 < writers.size(); ++i)
      if (OpenAtStop_[i] != OpenAtStart_[i + 1]) return false;
    for (const auto& file : files) Out.AppendEncoded(fileno(file.get()));
    return true;
  }

 private:
  // Where piece Piece ends (not included).
  TyWhere End(size_t Piece) const {
    return Piece + 1 < Starts_.size() ? Starts_[Piece + 1] : TyWhere{List_.getCount() + 1, nullptr};
  }

  // Replays each piece's outer end tags and texts against the elements the pieces before left
  // open, completing their HasText, and keeps the open elements where each piece starts.
  bool Join() {
    std::vector<TyJoinedOpen> open;
    OpenAt_.assign(Starts_.size(), {});
    for (size_t k = 0; k < Pieces_.size(); ++k) {
      TyXMLContentPiece& piece = Pieces_[k];
      if (k > 0) {
        if (!Pieces_[k - 1].EndsInContent) return false;
        if (piece.FirstStart.Line) {
          // Parts start inside the root, where nothing open is preserved.
          if (open.size() <= piece.PopsBeforeFirstStart) return false;
          for (const TyJoinedOpen& e : open)
            if (e.Open.HasSpace ||
                (WordsP_.Contains(e.Open.Name) && !WordsD_.Contains(e.Open.Name)))
              return false;
        }
        OpenAt_[k] = open;
      }
      for (const std::u16string_view name : piece.Outer) {
        if (open.empty()) return false;  // the one pass refuses this
        if (name.empty()) {
          Pieces_[open.back().Piece].HasText[open.back().Open.Ordinal] = 1;
        } else {
          if (open.back().Open.Name != name) return false;
          open.pop_back();
        }
      }
      for (const detail::TyXMLContentOpen& e : piece.Open) open.push_back({k, e});
    }
    return open.empty();
  }

  // The part from piece First's first start tag (the document's start for piece 0) up to
  // piece Next's first start tag (the end when Next is past the last piece).
  void WritePart(CyTextFileWriter& File, size_t First, size_t Next,
                 std::vector<std::u16string_view>& OpenAtStart,
                 std::vector<std::u16string_view>& OpenAtStop) {
    CyXMLWriterFileOutputStream stream(File);
    CyXMLEventWriter writer(stream, Choices_.XMLFormattingOptions, Choices_.XMLLayoutOptions, u"",
                            Choices_.IndentationUnit);
    CyStreamSink sink(writer, Pieces_[First].HasText);
    CyXMLNodeScanner<CyStreamSink> scanner(List_, sink, WordsD_, WordsP_);
    scanner.setJob(&Job_);
    sink.watch(scanner.getOpen());
    if (First > 0) {
      std::vector<TyXMLOpenElement> open;
      for (const TyJoinedOpen& e : OpenAt_[First]) {
        open.push_back({e.Open.Name, e.Open.Start, false});
        writer.Reopen(e.Open.Name, false, Pieces_[e.Piece].HasText[e.Open.Ordinal] != 0);
      }
      scanner.Resume(open);
    }
    sink.setRange(First > 0 ? Pieces_[First].FirstStart : TyWhere{},
                  Next < Pieces_.size() ? Pieces_[Next].FirstStart : TyWhere{});
    TxXMLParser parser;
    for (size_t k = First; k < Pieces_.size(); ++k) {
      // Every later piece start crossed must lie between two constructs, as the pieces assumed.
      if (k > First && !scanner.EndsClean()) throw TyPartMismatch();
      scanner.Read(parser, Starts_[k], End(k));
      if (sink.Stopped()) break;
    }
    if (!sink.Stopped()) scanner.Finish();
    writer.Flush();
    OpenAtStart = sink.getOpenAtStart();
    OpenAtStop = sink.getOpenAtStop();
  }

  const TxTextList& List_;
  const TyXMLFormatterChoices& Choices_;
  const CyXMLWordList& WordsD_;
  const CyXMLWordList& WordsP_;
  const TyJobContext& Job_;
  std::vector<TyWhere> Starts_;
  std::vector<TyXMLContentPiece> Pieces_;
  std::vector<std::vector<TyJoinedOpen>> OpenAt_;
  std::vector<std::vector<std::u16string_view>> OpenAtStart_, OpenAtStop_;  // by writer
};

// Both passes over the whole document; the first refuses before anything is written.
void FormatInOnePass(const TxTextList& List, CyTextFileWriter& Out,
                     const TyXMLFormatterChoices& Choices, const CyXMLWordList& WordsD,
                     const CyXMLWordList& WordsP, const TyJobContext& Job) {
  std::vector<uint8_t> hasText;
  {
    CyHasTextSink sink(hasText);
    CyXMLNodeScanner<CyHasTextSink> scanner(List, sink, WordsD, WordsP);
    scanner.setJob(&Job);
    TxXMLParser parser;
    scanner.Read(parser, 1, List.getCount());
    scanner.Finish();
  }
  CyXMLWriterFileOutputStream stream(Out);
  CyXMLEventWriter writer(stream, Choices.XMLFormattingOptions, Choices.XMLLayoutOptions, u"",
                          Choices.IndentationUnit);
  CyStreamSink sink(writer, hasText);
  CyXMLNodeScanner<CyStreamSink> scanner(List, sink, WordsD, WordsP);
  scanner.setJob(&Job);
  TxXMLParser parser;
  scanner.Read(parser, 1, List.getCount());
  scanner.Finish();
  writer.Flush();
}

}  // namespace

int CyXMLFormatter::FormatToFile__PARALLEL__(const TxTextList& TextList, CyTextFileWriter& Out,
                                             const TyTextFileFormat& Format,
                                             const TyXMLFormatterChoices& Choices, int PieceCount,
                                             int64_t MinPieceUnits, const TyJobContext& Job) {
  const CyXMLWordList wordsD(Choices.WordsD), wordsP(Choices.WordsP);
  Job.Begin("Formatting", 2 * static_cast<uint64_t>(TextList.getCount()));
  // Other encodings count lines for their messages, which parts would get wrong.
  const std::vector<TyWhere> starts =
      Format.Encoding.IsUnicode()
          ? PieceStarts(TextList, Job.ResolvePieceCount(PieceCount), MinPieceUnits)
          : std::vector<TyWhere>{{1, nullptr}};
  int parts = 1;
  if (starts.size() > 1 &&
      CyPartsFormatter(TextList, Choices, wordsD, wordsP, Job).Run(Out, Format, starts))
    parts = static_cast<int>(starts.size());
  else
    FormatInOnePass(TextList, Out, Choices, wordsD, wordsP, Job);
  WriteFinalLineBreak(TextList, Out);
  return parts;
}

}  // namespace xylem
