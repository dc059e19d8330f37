#include "lsp/SemanticTokens.hpp"

#include <algorithm>
#include <charconv>
#include <numeric>

#include "json/Coloring.hpp"
#include "lsp/FullTokens.hpp"
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

// The legend entries the mappings use, with a one-byte code for each.
struct TyLegendCodes {
  std::vector<TyLegendEntry> Entries;
  std::vector<uint8_t> CodeOf = std::vector<uint8_t>((size_t{1} << 15) + 1, 0xFF);
  TyLegendCodes() {
    auto Add = [this](const auto& Table) {
      for (const TyMapping& M : Table) {
        if (M.Type == ttNone) continue;
        uint8_t& Slot = CodeOf[getLegendKey({0, 0, M.Type, M.Modifiers})];
        if (Slot != 0xFF) continue;
        Slot = static_cast<uint8_t>(Entries.size());
        Entries.push_back({M.Type, M.Modifiers});
      }
    };
    Add(kXMLMapping);
    Add(kXPathMapping);
    Add(kJSONMapping);
  }
};
static_assert(ttFunction < 16 && tmInvalid < (1u << 11), "legend keys take 15 bits");

const TyLegendCodes& LegendCodes() {
  static const TyLegendCodes Codes;
  return Codes;
}

}  // namespace

const std::vector<TyLegendEntry>& getLegendEntries() { return LegendCodes().Entries; }

const std::vector<uint8_t>& getLegendCodes() { return LegendCodes().CodeOf; }

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
