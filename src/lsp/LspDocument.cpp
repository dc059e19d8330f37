#include "lsp/LspDocument.hpp"

#include <atomic>

#include "common/Exception.hpp"
#include "common/Utf.hpp"

namespace xylem::lsp {

namespace {

int HexValue(char C) {
  if (C >= '0' && C <= '9') return C - '0';
  if (C >= 'a' && C <= 'f') return C - 'a' + 10;
  if (C >= 'A' && C <= 'F') return C - 'A' + 10;
  return -1;
}

std::atomic<uint64_t> NextSerial{1};

TyEditorOptions ServerEditorOptions() {
  TyEditorOptions Options;
  // The client keeps its own undo; the server needs none.
  Options.UndoLimit = 0;
  return Options;
}

}  // namespace

std::string PathOfUri(const std::string& Uri) {
  constexpr std::string_view kScheme = "file://";
  if (Uri.compare(0, kScheme.size(), kScheme) != 0) return Uri;
  std::string Path;
  for (size_t i = kScheme.size(); i < Uri.size(); ++i) {
    if (Uri[i] == '%' && i + 2 < Uri.size() && HexValue(Uri[i + 1]) >= 0 &&
        HexValue(Uri[i + 2]) >= 0) {
      Path.push_back(static_cast<char>(HexValue(Uri[i + 1]) * 16 + HexValue(Uri[i + 2])));
      i += 2;
    } else {
      Path.push_back(Uri[i]);
    }
  }
  return Path;
}

CyLspDocument::CyLspDocument(std::string Uri, const std::string& LanguageId, int64_t Version,
                             std::u16string_view Text, CyXPathCheckerCachePool& Caches)
    : Uri_(std::move(Uri)),
      Version_(Version),
      Document_(ServerEditorOptions()),
      Serial_(NextSerial.fetch_add(1)) {
  Document_.LoadFromText(Text, PathOfUri(Uri_));
  Init(LanguageId, Caches);
}

CyLspDocument::CyLspDocument(std::string Uri, const std::string& LanguageId, int64_t Version,
                             std::string_view Text, const TyDocumentLoadOptions& Load,
                             const std::function<void()>& AfterDecode,
                             CyXPathCheckerCachePool& Caches)
    : Uri_(std::move(Uri)),
      Version_(Version),
      Document_(ServerEditorOptions()),
      Serial_(NextSerial.fetch_add(1)) {
  Document_.LoadFromUTF8(Text, PathOfUri(Uri_), Load, AfterDecode);
  Init(LanguageId, Caches);
}

void CyLspDocument::Init(const std::string& LanguageId, CyXPathCheckerCachePool& Caches) {
  if (LanguageId == "xsl" || LanguageId == "xslt")
    Document_.setKind(TyDocumentKind::dkXSLT);
  else if (LanguageId == "json" || LanguageId == "jsonc")
    Document_.setKind(TyDocumentKind::dkJSON);
  else if (LanguageId == "dtd")
    Document_.setKind(TyDocumentKind::dkDTD);
  else if (LanguageId == "xml" && Document_.getKind() == TyDocumentKind::dkText)
    Document_.setKind(TyDocumentKind::dkXML);
  Document_.AddListener(&Tokens_);
  Checks_ = std::make_unique<CyBackgroundChecks>(Document_, Caches);
}

CyLspDocument::~CyLspDocument() {
  Checks_.reset();
  Document_.RemoveListener(&Tokens_);
}

TxDocumentSnapshotPtr CyLspDocument::getSnapshot() {
  TxDocumentSnapshotPtr Snapshot = Snapshot_.lock();
  if (!Snapshot || Snapshot->getGeneration() != Document_.getGeneration()) {
    Snapshot = Document_.CreateSharedSnapshot();
    Snapshot_ = Snapshot;
  }
  return Snapshot;
}

void CyLspDocument::ApplyChanges(const json& ContentChanges, int64_t Version) {
  if (!ContentChanges.is_array())
    throw CyLspError(lecInvalidParams, "contentChanges must be an array.");
  for (const json& Change : ContentChanges) {
    if (!Change.is_object() || !Change.contains("text") || !Change["text"].is_string())
      throw CyLspError(lecInvalidParams, "A content change needs its text.");
    const std::u16string Text = ToUTF16(Change["text"].get_ref<const std::string&>());
    TyTextRange Range{{1, 1}, Document_.getEndPosition()};
    if (Change.contains("range")) Range = FromLspRange(Change["range"], Document_);
    try {
      Document_.ReplaceRange(Range, Text, TyEditKind::ekTyping);
    } catch (const CyException& Error) {
      throw CyLspError(lecInvalidParams, Error.what());
    }
  }
  Version_ = Version;
}

}  // namespace xylem::lsp
