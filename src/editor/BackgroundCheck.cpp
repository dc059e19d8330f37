#include "editor/BackgroundCheck.hpp"

#include "editor/Document.hpp"

namespace xylem {

IyXMLErrsPtr CheckSnapshot(const TxDocumentSnapshot&, CyXPathCheckerCachePool&, std::stop_token,
                           int) {
  return nullptr;
}

CyBackgroundChecks::CyBackgroundChecks(TxMarkupDocument& Document, CyXPathCheckerCachePool& Caches)
    : Document_(Document), Caches_(Caches) {
  Document_.AddListener(this);
}

CyBackgroundChecks::~CyBackgroundChecks() {
  Document_.RemoveListener(this);
  Cancel();
  Join();
}

void CyBackgroundChecks::Start() {}
void CyBackgroundChecks::Cancel() {}
bool CyBackgroundChecks::getRunning() const { return false; }
bool CyBackgroundChecks::Poll() { return false; }
bool CyBackgroundChecks::WaitAndPoll() { return false; }
IyXMLErrsPtr CyBackgroundChecks::getErrs() { return Errs_; }
void CyBackgroundChecks::Join() {}
void CyBackgroundChecks::ClearMarkers() {}
void CyBackgroundChecks::OnDocumentChanged(const TxMarkupDocument&, const TyDocumentChange&) {}

}  // namespace xylem
