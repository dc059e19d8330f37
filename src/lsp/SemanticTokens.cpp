#include "lsp/SemanticTokens.hpp"

#include <algorithm>
#include <charconv>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <numeric>
#include <thread>
#include <tuple>

#include "json/Coloring.hpp"
#include "xml/lines/Coloring.hpp"
#include "xml/lines/LineColoring.hpp"
#include "xpath/EmbeddedColoring.hpp"
#include "xslt/XSLTLineColoring.hpp"

namespace xylem::lsp {

namespace {

enum TyTokenType : uint32_t {
  ttComment,
  ttString,
  ttKeyword,
  ttType,
  ttProperty,
  ttOperator,
  ttMacro,
  ttNumber,
  ttVariable,
  ttFunction,
  ttNone = 0xFF
};
const char* const kTokenTypes[] = {"comment",  "string", "keyword", "type",     "property",
                                   "operator", "macro",  "number",  "variable", "function"};

enum TyTokenModifier : uint32_t {
  tmMarker = 1u << 0,
  tmCDATA = 1u << 1,
  tmDoctype = 1u << 2,
  tmDeclaration = 1u << 3,
  tmStartTag = 1u << 4,
  tmEndTag = 1u << 5,
  tmPrefixed = 1u << 6,
  tmProcessingInstruction = 1u << 7,
  tmXMLDeclaration = 1u << 8,
  tmXPath = 1u << 9,
  tmInvalid = 1u << 10,
};
const char* const kTokenModifiers[] = {
    "marker",         "cdata",  "doctype",  "declaration",
    "startTag",       "endTag", "prefixed", "processingInstruction",
    "xmlDeclaration", "xpath",  "invalid"};

struct TyMapping {
  uint32_t Type;
  uint32_t Modifiers;
};

// In the order of the XML colouring's categories; Text is left to the editor's default.
constexpr TyMapping kXMLMapping[kXMLColoringCategoryCount] = {
    {ttKeyword, tmCDATA},                     // CDATA marker
    {ttString, tmCDATA},                      // CDATA text
    {ttComment, tmMarker},                    // Comment marker
    {ttComment, 0},                           // Comment text
    {ttKeyword, tmDoctype},                   // DOCTYPE marker
    {ttString, tmDoctype},                    // DOCTYPE external id
    {ttKeyword, tmDoctype | tmDeclaration},   // DOCTYPE declaration marker
    {ttOperator, tmEndTag},                   // End-tag marker
    {ttType, tmEndTag | tmPrefixed},          // End-tag name with prefix
    {ttType, tmEndTag},                       // End-tag name without prefix
    {ttMacro, 0},                             // Entity
    {ttOperator, tmProcessingInstruction},    // PI marker
    {ttKeyword, tmProcessingInstruction},     // PI tag
    {ttString, tmProcessingInstruction},      // PI definition
    {ttOperator, tmStartTag},                 // Start-tag marker
    {ttType, tmStartTag | tmPrefixed},        // Start-tag name with prefix
    {ttType, tmStartTag},                     // Start-tag name without prefix
    {ttProperty, 0},                          // Start-tag attribute name
    {ttOperator, 0},                          // Start-tag attribute equals
    {ttString, tmMarker},                     // Start-tag attribute quote
    {ttString, 0},                            // Start-tag attribute value
    {ttNone, 0},                              // Text
    {ttOperator, tmXMLDeclaration},           // XML marker
    {ttKeyword, tmXMLDeclaration},            // XML tag
    {ttProperty, tmXMLDeclaration},           // XML attribute name
    {ttOperator, tmXMLDeclaration},           // XML attribute equals
    {ttString, tmXMLDeclaration | tmMarker},  // XML attribute quote
    {ttString, tmXMLDeclaration},             // XML attribute value
};

// In the order of the XPath colouring's categories; white space is not a token.
constexpr TyMapping kXPathMapping[kXPathColoringCategoryCount] = {
    {ttNone, 0},                            // Text
    {ttString, tmXPath},                    // AVT text
    {ttKeyword, tmXPath | tmMarker},        // Axis
    {ttOperator, tmXPath | tmMarker},       // Bracket
    {ttKeyword, tmXPath | tmDeclaration},   // Constructor
    {ttVariable, tmXPath | tmMarker},       // Context item
    {ttOperator, tmXPath | tmInvalid},      // Error
    {ttFunction, tmXPath},                  // Function call
    {ttType, tmXPath},                      // Item type
    {ttProperty, tmXPath},                  // Key specifier
    {ttKeyword, tmXPath},                   // Keyword
    {ttType, tmXPath | tmMarker},           // Name test
    {ttNumber, tmXPath},                    // Number
    {ttOperator, tmXPath | tmDeclaration},  // Occurrence indicator
    {ttOperator, tmXPath},                  // Operator
    {ttType, tmXPath | tmDeclaration},      // Schema type
    {ttOperator, tmXPath | tmPrefixed},     // Slash
    {ttString, tmXPath},                    // String
    {ttOperator, tmXPath | tmCDATA},        // Symbol
    {ttVariable, tmXPath},                  // Variable
};

constexpr TyMapping kJSONMapping[kJSONColoringCategoryCount] = {
    {ttProperty, 0},        // Key
    {ttString, 0},          // String
    {ttNumber, 0},          // Number
    {ttKeyword, 0},         // Literal
    {ttOperator, 0},        // Punctuation
    {ttNone, 0},            // Plain
    {ttString, tmInvalid},  // Error
};

void Push(std::vector<TyLspToken>& Out, int64_t Start0, int64_t Length, TyMapping Mapping) {
  if (Mapping.Type == ttNone || Length <= 0) return;
  Out.push_back({static_cast<uint32_t>(Start0), static_cast<uint32_t>(Length), Mapping.Type,
                 Mapping.Modifiers});
}

}  // namespace

json SemanticTokensLegend() {
  return {{"tokenTypes", kTokenTypes}, {"tokenModifiers", kTokenModifiers}};
}

struct CyLineTokenizer::TyImpl {
  CyDocumentView Document;
  CyXMLColoring Scheme;
  std::unique_ptr<CyXMLLineColoring> Coloring;  // XML kinds
  std::u16string LineBuffer;                    // JSON: the line with its terminating NUL
  explicit TyImpl(const CyDocumentView& Doc) : Document(Doc) {}
};

CyLineTokenizer::CyLineTokenizer(const CyDocumentView& Document)
    : Impl_(std::make_unique<TyImpl>(Document)) {
  if (!Document.getKeepsLineStates()) return;
  // The colourings take the items non-const for their own scanning helpers; colouring a
  // stored line only reads it.
  auto& Items = const_cast<TxTextItems&>(Document.getTextList().getTextItems());
  if (Document.getKind() == TyDocumentKind::dkXSLT)
    Impl_->Coloring = std::make_unique<CyXSLTLineColoring>(Items, Impl_->Scheme);
  else
    Impl_->Coloring = std::make_unique<CyXMLLineColoring>(Items, Impl_->Scheme);
}

CyLineTokenizer::~CyLineTokenizer() = default;

void CyLineTokenizer::Tokenize(int64_t Line, std::vector<TyLspToken>& Out) {
  TyImpl& I = *Impl_;
  if (I.Coloring) {
    CyXMLLineColoring& C = *I.Coloring;
    for (C.FirstLine(Line); !C.IsDone(); C.Next()) {
      const int64_t Start0 = C.ItemLinepos() - 1;
      const int64_t End0 = Start0 + C.ItemTextCount();
      auto* XPath = dynamic_cast<CyXPathEmbeddedLineColoring*>(C.getEmbedded());
      if (!XPath) {
        // White space inside markup takes the colour of its surroundings; it is no token.
        const char16_t* Text = C.ItemText();
        if (std::all_of(Text, Text + C.ItemTextCount(),
                        [](char16_t Ch) { return Ch == u' ' || Ch == u'\t'; }))
          continue;
        Push(Out, Start0, End0 - Start0, kXMLMapping[static_cast<unsigned>(C.ItemCategory())]);
        continue;
      }
      // The embedded colouring covers the whole value; keep what lies inside this token.
      for (XPath->First(Line); !XPath->IsDone(); XPath->Next()) {
        const int64_t S = std::max(Start0, XPath->ItemLinepos() - 1);
        const int64_t E = std::min(End0, XPath->ItemLinepos() - 1 + XPath->ItemTextCount());
        Push(Out, S, E - S, kXPathMapping[static_cast<unsigned>(XPath->ItemCategory())]);
      }
    }
    return;
  }
  if (I.Document.getKind() != TyDocumentKind::dkJSON) return;
  // JSON lines are coloured one by one: no JSON token spans a line, and an error spoils only
  // its own line, so a line's tokens depend on its text alone.
  const std::u16string_view Text = I.Document.getLine(Line);
  I.LineBuffer.assign(Text);
  I.LineBuffer.push_back(u'\0');
  CyJSONTokenColoring Json(I.LineBuffer.data(), Text.size());
  while (Json.Next())
    Push(Out, Json.Head() - I.LineBuffer.data(), Json.Tail() - Json.Head(),
         kJSONMapping[static_cast<unsigned>(Json.Category())]);
}

void EncodeLineTokens(CyLineTokenizer& Tokenizer, int64_t First, int64_t Last,
                      int64_t& PreviousLine, std::vector<uint32_t>& Data,
                      std::vector<uint32_t>* Counts) {
  std::vector<TyLspToken> Tokens;
  for (int64_t Line = First; Line <= Last; ++Line) {
    Tokens.clear();
    Tokenizer.Tokenize(Line, Tokens);
    uint32_t PreviousStart = 0;
    for (const TyLspToken& T : Tokens) {
      const bool SameLine = PreviousLine == Line;
      Data.push_back(static_cast<uint32_t>(SameLine ? 0 : Line - PreviousLine));
      Data.push_back(SameLine ? T.Start - PreviousStart : T.Start);
      Data.push_back(T.Length);
      Data.push_back(T.Type);
      Data.push_back(T.Modifiers);
      PreviousLine = Line;
      PreviousStart = T.Start;
    }
    if (Counts) Counts->push_back(static_cast<uint32_t>(Tokens.size()));
  }
}

namespace {

// ---- The compact form of a piece (TyTokensPiece).

constexpr size_t kBlockBytes = size_t{1} << 20;
// The longest record: a line header or a token (three numbers of at most 5 bytes each).
constexpr size_t kMaxRecordBytes = 16;

// The legend entries (type and modifiers) the mappings use, numbered so that a token stores
// one byte for both.
struct TyLegendEntries {
  std::vector<TyMapping> Entries;
  std::vector<uint8_t> IndexOf = std::vector<uint8_t>(size_t{1} << 15, 0xFF);
  TyLegendEntries() {
    auto Add = [this](const auto& Table) {
      for (const TyMapping& M : Table) {
        if (M.Type == ttNone) continue;
        uint8_t& Slot = IndexOf[Key(M.Type, M.Modifiers)];
        if (Slot != 0xFF) continue;
        Slot = static_cast<uint8_t>(Entries.size());
        Entries.push_back(M);
      }
    };
    Add(kXMLMapping);
    Add(kXPathMapping);
    Add(kJSONMapping);
  }
  static size_t Key(uint32_t Type, uint32_t Modifiers) { return size_t(Type) << 11 | Modifiers; }
};
static_assert(ttFunction < 16 && tmInvalid < (1u << 11), "legend keys take 15 bits");

const TyLegendEntries& LegendEntries() {
  static const TyLegendEntries Entries;
  return Entries;
}

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

// Room for one record at the end of the piece's last block.
uint8_t* RecordSpace(TyTokensPiece& Piece) {
  if (Piece.Blocks.empty() || Piece.Blocks.back().Used + kMaxRecordBytes > kBlockBytes)
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

// The text of a token's numbers: ",A,B,C,D" behind the line delta.
size_t TokenTextLength(uint32_t StartDelta, uint32_t Length, const TyMapping& M) {
  return 4 + DigitCount(StartDelta) + DigitCount(Length) + DigitCount(M.Type) +
         DigitCount(M.Modifiers);
}

void EncodePiece(const CyDocumentView& View, int64_t First, int64_t Last, const TyJobContext& Job,
                 TyTokensPiece& Piece) {
  constexpr int64_t kPollLines = 4096;
  const TyLegendEntries& Legend = LegendEntries();
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
    uint8_t* Out = RecordSpace(Piece);
    Out = PutVarint(Out, LineDelta);
    CommitRecord(Piece, PutVarint(Out, static_cast<uint32_t>(Tokens.size())));
    uint32_t PreviousStart = 0;
    for (const TyLspToken& T : Tokens) {
      const uint8_t Entry = Legend.IndexOf[TyLegendEntries::Key(T.Type, T.Modifiers)];
      if (Entry == 0xFF) throw CyShouldNeverHappenException("A token outside the legend.");
      Piece.TextLength += TokenTextLength(T.Start - PreviousStart, T.Length, Legend.Entries[Entry]);
      Out = RecordSpace(Piece);
      Out = PutVarint(Out, T.Start - PreviousStart);
      Out = PutVarint(Out, T.Length);
      *Out++ = Entry;
      CommitRecord(Piece, Out);
      PreviousStart = T.Start;
    }
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

// The longest text of one token: five numbers of up to 10 digits behind commas.
constexpr size_t kMaxTokenText = 55;

// Expands the pieces' tokens as text into chunk buffers of about ChunkBytes; Emit takes each
// filled buffer (at least one token each; the very first comma is left out).
template <typename TyEmit>
void ExpandPieces(const std::vector<TyTokensPiece>& Pieces, size_t ChunkBytes, std::string& Buffer,
                  TyEmit&& Emit) {
  const TyLegendEntries& Legend = LegendEntries();
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
        const TyMapping& M = Legend.Entries[*In++];
        Out = PutNumber(Out, I == 0 ? LineDelta : 0);
        Out = PutNumber(Out, StartDelta);
        Out = PutNumber(Out, Length);
        Out = PutNumber(Out, M.Type);
        Out = PutNumber(Out, M.Modifiers);
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

std::string CySemanticTokensState::NextResultId() { return std::to_string(++ResultNumber_); }

std::string CySemanticTokensState::BeginFull() {
  SentCounts_.clear();
  HaveResult_ = false;
  Pending_ = true;
  Dirty_ = AllDirty_ = false;
  Shift_ = 0;
  return NextResultId();
}

void CySemanticTokensState::InstallFull(const std::string& ResultId, std::vector<uint32_t> Counts) {
  if (!Pending_ || ResultId != std::to_string(ResultNumber_)) return;
  SentCounts_ = std::move(Counts);
  Pending_ = false;
  HaveResult_ = true;
}

json CySemanticTokensState::Full(const CyDocumentView& Document) {
  return json::parse(FullText(Document));
}

std::string CySemanticTokensState::FullText(const CyDocumentView& Document) {
  TyJobContext Job;
  Job.PieceCount = 1;
  const std::string Id = BeginFull();
  TyFullTokens Data = ComputeFullTokens(Document, Job);
  InstallFull(Id, std::move(Data.Counts));
  const std::unique_ptr<IyBodyPart> Body = FullResultBody(std::move(Data), Id);
  std::string Text;
  Text.reserve(Body->getLength());
  Body->WriteTo([&Text](std::string_view Chunk) { Text += Chunk; });
  return Text;
}

bool CySemanticTokensState::NeedsFull(const std::string& PreviousResultId) const {
  return !HaveResult_ || AllDirty_ || PreviousResultId != std::to_string(ResultNumber_);
}

std::string CySemanticTokensState::DeltaText(const CyDocumentView& Document,
                                             const std::string& PreviousResultId) {
  if (NeedsFull(PreviousResultId)) return FullText(Document);
  return DumpMessage(Delta(Document, PreviousResultId));
}

json CySemanticTokensState::Delta(const CyDocumentView& Document,
                                  const std::string& PreviousResultId) {
  if (NeedsFull(PreviousResultId)) return Full(Document);
  if (!Dirty_) return {{"resultId", NextResultId()}, {"edits", json::array()}};
  const int64_t OldCount = static_cast<int64_t>(SentCounts_.size());
  const int64_t NewCount = Document.getLineCount();
  int64_t From = std::clamp<int64_t>(DirtyFrom_, 1, NewCount);
  int64_t Until = std::clamp<int64_t>(DirtyUntil_, From, NewCount);
  int64_t OldUntil = std::clamp<int64_t>(Until - Shift_, From - 1, OldCount);
  // The first token behind the stretch keeps its text but its line offset may change: take
  // the next old line holding tokens into the stretch.
  while (OldUntil < OldCount && Until < NewCount) {
    ++OldUntil;
    ++Until;
    if (SentCounts_[OldUntil - 1] > 0) break;
  }
  const auto Begin = SentCounts_.begin();
  const uint64_t Before = std::accumulate(Begin, Begin + (From - 1), uint64_t{0});
  const uint64_t Removed = std::accumulate(Begin + (From - 1), Begin + OldUntil, uint64_t{0});
  int64_t Previous = 1;
  for (int64_t Line = From - 1; Line >= 1; --Line)
    if (SentCounts_[Line - 1] > 0) {
      Previous = Line;
      break;
    }
  CyLineTokenizer Tokenizer(Document);
  std::vector<uint32_t> Data;
  std::vector<uint32_t> Counts;
  EncodeLineTokens(Tokenizer, From, Until, Previous, Data, &Counts);
  if (size_t(OldUntil - (From - 1)) == Counts.size()) {
    // Typing keeps the line count: overwrite in place instead of moving every line behind.
    std::copy(Counts.begin(), Counts.end(), Begin + (From - 1));
  } else {
    SentCounts_.erase(Begin + (From - 1), Begin + OldUntil);
    SentCounts_.insert(SentCounts_.begin() + (From - 1), Counts.begin(), Counts.end());
  }
  Dirty_ = false;
  Shift_ = 0;
  json Edit = {{"start", 5 * Before}, {"deleteCount", 5 * Removed}, {"data", std::move(Data)}};
  return {{"resultId", NextResultId()}, {"edits", json::array({std::move(Edit)})}};
}

json CySemanticTokensState::Range(const CyDocumentView& Document, const TyTextRange& Range) {
  CyLineTokenizer Tokenizer(Document);
  std::vector<uint32_t> Data;
  int64_t Previous = 1;
  const int64_t Last = Range.End.Linepos == 1 && Range.End.Line > Range.Start.Line
                           ? Range.End.Line - 1
                           : Range.End.Line;
  EncodeLineTokens(Tokenizer, Range.Start.Line, Last, Previous, Data, nullptr);
  return {{"data", std::move(Data)}};
}

void CySemanticTokensState::OnDocumentChanged(const TxMarkupDocument&,
                                              const TyDocumentChange& Change) {
  if ((!HaveResult_ && !Pending_) || AllDirty_) return;
  if (Change.WholeContent) {
    AllDirty_ = true;
    return;
  }
  const int64_t LineDelta = Change.getLineDelta();
  const int64_t From = std::min(Change.FirstLine, Change.StatesChangedFrom);
  // The changed stretch in the numbering before this change.
  const int64_t Until =
      std::max(Change.FirstLine + Change.LinesRemoved - 1, Change.StatesChangedUntil - LineDelta);
  if (!Dirty_) {
    DirtyFrom_ = From;
    DirtyUntil_ = Until + LineDelta;
  } else {
    DirtyFrom_ = std::min(DirtyFrom_, From);
    DirtyUntil_ = std::max(DirtyUntil_, Until) + LineDelta;
  }
  Dirty_ = true;
  Shift_ += LineDelta;
}

}  // namespace xylem::lsp
