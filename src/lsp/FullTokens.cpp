#include "lsp/FullTokens.hpp"

#include <algorithm>
#include <charconv>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <tuple>

#include "common/Exception.hpp"

namespace xylem::lsp {

namespace {

// ---- The compact form of a piece (TyTokensPiece).

constexpr size_t kBlockBytes = size_t{1} << 20;
// The longest record: a line header or a token (three numbers of at most 5 bytes each).
constexpr size_t kMaxRecordBytes = 16;

uint8_t* PutVarint(uint8_t* Out, uint32_t Value) {
  while (Value >= 0x80) {
    *Out++ = static_cast<uint8_t>(Value | 0x80);
    Value >>= 7;
  }
  *Out++ = static_cast<uint8_t>(Value);
  return Out;
}

uint32_t GetVarint(const uint8_t*& In) {
  uint32_t Value = 0;
  for (int Shift = 0;; Shift += 7) {
    const uint8_t Byte = *In++;
    Value |= uint32_t(Byte & 0x7F) << Shift;
    if (Byte < 0x80) return Value;
  }
}

// Room for Bytes (at most a block) at the end of the piece's last block.
uint8_t* RecordSpace(TyTokensPiece& Piece, size_t Bytes) {
  if (Piece.Blocks.empty() || Piece.Blocks.back().Used + Bytes > kBlockBytes)
    Piece.Blocks.push_back({std::make_unique_for_overwrite<uint8_t[]>(kBlockBytes), 0});
  TyTokensPiece::TyBlock& Block = Piece.Blocks.back();
  return Block.Bytes.get() + Block.Used;
}

void CommitRecord(TyTokensPiece& Piece, const uint8_t* End) {
  TyTokensPiece::TyBlock& Block = Piece.Blocks.back();
  Block.Used = size_t(End - Block.Bytes.get());
}

// Characters of Value in decimal.
size_t DigitCount(uint32_t Value) {
  return Value < 10 ? 1 : Value < 100 ? 2 : Value < 1000 ? 3 : 3 + DigitCount(Value / 1000);
}

void EncodePiece(const CyDocumentView& View, int64_t First, int64_t Last, const TyJobContext& Job,
                 TyTokensPiece& Piece) {
  constexpr int64_t kPollLines = 4096;
  constexpr size_t kMaxTokenRecord = 11;  // two numbers of 5 bytes, the entry's code
  const std::vector<uint8_t>& Codes = getLegendCodes();
  // Per entry: the text of its type and modifiers with their commas.
  std::vector<size_t> EntryText;
  for (const TyLegendEntry& E : getLegendEntries())
    EntryText.push_back(2 + DigitCount(E.Type) + DigitCount(E.Modifiers));
  CyLineTokenizer Tokenizer(View);
  std::vector<TyLspToken> Tokens;
  Piece.Counts.reserve(size_t(Last - First + 1));
  for (int64_t Line = First; Line <= Last; ++Line) {
    if ((Line - First) % kPollLines == kPollLines - 1) {
      Job.ThrowIfStopped();
      Job.Advance(kPollLines);
    }
    Tokens.clear();
    Tokenizer.Tokenize(Line, Tokens);
    Piece.Counts.push_back(static_cast<uint32_t>(Tokens.size()));
    if (Tokens.empty()) continue;
    const uint32_t LineDelta =
        Piece.FirstTokenLine == 0 ? 0 : static_cast<uint32_t>(Line - Piece.LastTokenLine);
    if (Piece.FirstTokenLine == 0)
      Piece.FirstTokenLine = Line;
    else
      Piece.TextLength += 1 + DigitCount(LineDelta);
    Piece.TextLength += (Tokens.size() - 1) * 2;  // the other tokens' ",0"
    Piece.LastTokenLine = Line;
    // A line's records in one go unless they would not fit a block.
    const size_t LineBytes = kMaxRecordBytes + Tokens.size() * kMaxTokenRecord;
    const bool OneGo = LineBytes <= kBlockBytes;
    uint8_t* Out = RecordSpace(Piece, OneGo ? LineBytes : kMaxRecordBytes);
    Out = PutVarint(Out, LineDelta);
    Out = PutVarint(Out, static_cast<uint32_t>(Tokens.size()));
    uint32_t PreviousStart = 0;
    size_t Text = 0;
    for (const TyLspToken& T : Tokens) {
      const uint8_t Entry = Codes[getLegendKey(T)];
      if (Entry == 0xFF) throw CyShouldNeverHappenException("A token outside the legend.");
      const uint32_t StartDelta = T.Start - PreviousStart;
      Text += 2 + DigitCount(StartDelta) + DigitCount(T.Length) + EntryText[Entry];
      if (!OneGo) {
        CommitRecord(Piece, Out);
        Out = RecordSpace(Piece, kMaxTokenRecord);
      }
      Out = PutVarint(Out, StartDelta);
      Out = PutVarint(Out, T.Length);
      *Out++ = Entry;
      PreviousStart = T.Start;
    }
    CommitRecord(Piece, Out);
    Piece.TextLength += Text;
  }
  Job.Advance(uint64_t((Last - First + 1) % kPollLines));
}

// Appends ",Value".
char* PutNumber(char* Out, uint32_t Value) {
  static constexpr char kTwoDigits[] =
      "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
      "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
      "8081828384858687888990919293949596979899";
  *Out++ = ',';
  if (Value < 10) {
    *Out = static_cast<char>('0' + Value);
    return Out + 1;
  }
  if (Value < 100) {
    std::memcpy(Out, kTwoDigits + 2 * Value, 2);
    return Out + 2;
  }
  return std::to_chars(Out, Out + 10, Value).ptr;
}

// The longest text of one token: five numbers of up to 10 digits behind commas, and room
// for copying an entry's text whole.
constexpr size_t kMaxTokenText = 55 + 16;

// Expands the pieces' tokens as text into chunk buffers of about ChunkBytes; Emit takes each
// filled buffer (at least one token each; the very first comma is left out).
template <typename TyEmit>
void ExpandPieces(const std::vector<TyTokensPiece>& Pieces, size_t ChunkBytes, std::string& Buffer,
                  TyEmit&& Emit) {
  // Each entry's ",Type,Modifiers" as text, copied whole (16 bytes, the rest overwritten).
  struct TyEntryText {
    char Text[16];
    size_t Length;
  };
  std::vector<TyEntryText> EntryTexts;
  for (const TyLegendEntry& E : getLegendEntries()) {
    TyEntryText T{};
    T.Length = size_t(PutNumber(PutNumber(T.Text, E.Type), E.Modifiers) - T.Text);
    EntryTexts.push_back(T);
  }
  ChunkBytes = std::max<size_t>(ChunkBytes, 1);
  Buffer.resize(ChunkBytes + kMaxTokenText);
  char* Out = Buffer.data();
  size_t Skip = 1;  // the comma before the first number
  auto Flush = [&] {
    const size_t Used = size_t(Out - Buffer.data());
    if (Used > Skip) Emit(Buffer, Skip, Used - Skip);
    // Emit may have taken the buffer and given back another (or none).
    if (Buffer.size() < ChunkBytes + kMaxTokenText) Buffer.resize(ChunkBytes + kMaxTokenText);
    Out = Buffer.data();
    Skip = 0;
  };
  int64_t Previous = 1;  // LSP counts the first token from the first line
  for (const TyTokensPiece& Piece : Pieces) {
    if (Piece.FirstTokenLine == 0) continue;
    // Records never straddle blocks, but a line's tokens may go on in the next block.
    size_t BlockIndex = 0;
    const uint8_t* In = Piece.Blocks[0].Bytes.get();
    const uint8_t* End = In + Piece.Blocks[0].Used;
    auto NextRecord = [&] {
      while (In == End) {
        const TyTokensPiece::TyBlock& Block = Piece.Blocks[++BlockIndex];
        In = Block.Bytes.get();
        End = In + Block.Used;
      }
    };
    // The first token's line delta joins the piece to the one before.
    uint32_t LineDelta = static_cast<uint32_t>(Piece.FirstTokenLine - Previous);
    bool FirstLine = true;
    for (;;) {
      if (In == End && BlockIndex + 1 == Piece.Blocks.size()) break;
      NextRecord();
      const uint32_t StoredDelta = GetVarint(In);
      const uint32_t Count = GetVarint(In);
      if (!FirstLine) LineDelta = StoredDelta;
      FirstLine = false;
      for (uint32_t I = 0; I < Count; ++I) {
        NextRecord();
        const uint32_t StartDelta = GetVarint(In);
        const uint32_t Length = GetVarint(In);
        const TyEntryText& Entry = EntryTexts[*In++];
        Out = PutNumber(Out, I == 0 ? LineDelta : 0);
        Out = PutNumber(Out, StartDelta);
        Out = PutNumber(Out, Length);
        std::memcpy(Out, Entry.Text, sizeof Entry.Text);
        Out += Entry.Length;
        if (size_t(Out - Buffer.data()) >= ChunkBytes) Flush();
      }
    }
    Previous = Piece.LastTokenLine;
  }
  Flush();
}

// Buffers handed from an expanding thread to the writing one; at most a few are filled ahead.
class CyChunkQueue {
 public:
  // Takes the next filled buffer; false once the producer is done and all were taken.
  bool Pop(std::string& Buffer, size_t& Offset, size_t& Length) {
    std::unique_lock Lock(Mutex_);
    Changed_.wait(Lock, [this] { return !Filled_.empty() || Done_; });
    if (Filled_.empty()) return false;
    std::tie(Buffer, Offset, Length) = std::move(Filled_.front());
    Filled_.pop_front();
    Changed_.notify_all();
    return true;
  }
  void Recycle(std::string Buffer) {
    std::lock_guard Lock(Mutex_);
    Free_.push_back(std::move(Buffer));
  }
  // Hands a filled buffer over and gives an empty one back; false once the reader quit.
  bool Push(std::string& Buffer, size_t Offset, size_t Length) {
    std::unique_lock Lock(Mutex_);
    Changed_.wait(Lock, [this] { return Filled_.size() < kAhead || Quit_; });
    if (Quit_) return false;
    Filled_.emplace_back(std::move(Buffer), Offset, Length);
    Changed_.notify_all();
    if (!Free_.empty()) {
      Buffer = std::move(Free_.back());
      Free_.pop_back();
    }
    return true;
  }
  void Finish() {
    std::lock_guard Lock(Mutex_);
    Done_ = true;
    Changed_.notify_all();
  }
  void Quit() {
    std::lock_guard Lock(Mutex_);
    Quit_ = true;
    Changed_.notify_all();
  }

 private:
  static constexpr size_t kAhead = 3;
  std::mutex Mutex_;
  std::condition_variable Changed_;
  std::deque<std::tuple<std::string, size_t, size_t>> Filled_;
  std::vector<std::string> Free_;
  bool Done_ = false;
  bool Quit_ = false;
};

}  // namespace

size_t TyFullTokens::getTextLength() const {
  size_t Length = 0;
  int64_t Previous = 1;
  bool AnyToken = false;
  for (const TyTokensPiece& Piece : Pieces) {
    if (Piece.FirstTokenLine == 0) continue;
    Length +=
        size_t(AnyToken) + DigitCount(uint32_t(Piece.FirstTokenLine - Previous)) + Piece.TextLength;
    AnyToken = true;
    Previous = Piece.LastTokenLine;
  }
  return Length;
}

void TyFullTokens::WriteText(const std::function<void(std::string_view)>& Sink,
                             size_t ChunkBytes) const {
  std::string Buffer;
  if (getTextLength() <= 4 * ChunkBytes) {
    ExpandPieces(Pieces, ChunkBytes, Buffer, [&](std::string& Filled, size_t At, size_t Length) {
      Sink(std::string_view(Filled).substr(At, Length));
    });
    return;
  }
  // A big result: one thread expands the next chunks while this one writes (a pipe's reader
  // takes its time), holding a few chunks at most.
  CyChunkQueue Queue;
  std::thread Expander([&] {
    try {
      ExpandPieces(Pieces, ChunkBytes, Buffer, [&](std::string& Filled, size_t At, size_t Length) {
        if (!Queue.Push(Filled, At, Length)) throw CyCancelledException();
      });
    } catch (const CyCancelledException&) {
      // The writer quit.
    }
    Queue.Finish();
  });
  try {
    std::string Chunk;
    size_t At, Length;
    while (Queue.Pop(Chunk, At, Length)) {
      Sink(std::string_view(Chunk).substr(At, Length));
      Queue.Recycle(std::move(Chunk));
    }
  } catch (...) {
    Queue.Quit();
    Expander.join();
    throw;
  }
  Expander.join();
}

std::string TyFullTokens::getJoined() const {
  std::string Text;
  Text.reserve(getTextLength());
  WriteText([&Text](std::string_view Chunk) { Text += Chunk; });
  return Text;
}

TyFullTokens ComputeFullTokens(const CyDocumentView& View, const TyJobContext& Job,
                               int64_t MinPieceLines) {
  const int64_t Count = View.getLineCount();
  const int64_t Pieces =
      std::clamp<int64_t>(Count / std::max<int64_t>(1, MinPieceLines), 1, Job.ResolvePieceCount(0));
  Job.Begin("Tokenizing", uint64_t(Count));
  TyFullTokens Result;
  Result.Pieces.resize(static_cast<size_t>(Pieces));
  auto Run = [&](int Index) {
    const int64_t First = 1 + Count * Index / Pieces;
    const int64_t Last = Count * (Index + 1) / Pieces;
    EncodePiece(View, First, Last, Job, Result.Pieces[size_t(Index)]);
  };
  if (Pieces == 1)
    Run(0);
  else
    Job.RunAll(static_cast<int>(Pieces), Run);
  if (Pieces == 1) {
    Result.Counts = std::move(Result.Pieces[0].Counts);
    return Result;
  }
  Result.Counts.reserve(size_t(Count));
  for (TyTokensPiece& Piece : Result.Pieces) {
    Result.Counts.insert(Result.Counts.end(), Piece.Counts.begin(), Piece.Counts.end());
    std::vector<uint32_t>().swap(Piece.Counts);
  }
  return Result;
}

namespace {

class CyFullResultBody : public IyBodyPart {
 public:
  CyFullResultBody(TyFullTokens Data, const std::string& ResultId)
      : Data_(std::move(Data)), Tail_("],\"resultId\":\"" + ResultId + "\"}") {}
  size_t getLength() const override { return kHead.size() + Data_.getTextLength() + Tail_.size(); }
  void WriteTo(const std::function<void(std::string_view)>& Sink) const override {
    Sink(kHead);
    Data_.WriteText(Sink);
    Sink(Tail_);
  }

 private:
  static constexpr std::string_view kHead = "{\"data\":[";
  TyFullTokens Data_;
  std::string Tail_;
};

}  // namespace

std::unique_ptr<IyBodyPart> FullResultBody(TyFullTokens Data, const std::string& ResultId) {
  return std::make_unique<CyFullResultBody>(std::move(Data), ResultId);
}

}  // namespace xylem::lsp
