#include "processors/Background.hpp"

#include "common/Utf.hpp"

namespace xylem {

CyBackgroundRun::CyBackgroundRun(std::function<IyXMLErrsPtr(std::stop_token)> Work) {
  std::promise<IyXMLErrsPtr> promise;
  Result_ = promise.get_future().share();
  Thread_ = std::jthread(
      [work = std::move(Work), promise = std::move(promise)](std::stop_token Stop) mutable {
        try {
          promise.set_value(work(Stop));
        } catch (...) {
          promise.set_exception(std::current_exception());
        }
      });
}

CyBackgroundRun::~CyBackgroundRun() { Thread_.request_stop(); }

bool CyBackgroundRun::IsDone() const {
  return Result_.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

IyXMLErrsPtr CyBackgroundRun::Wait() { return Result_.get(); }

std::unique_ptr<CyBackgroundRun> ValidateInBackground(TyProcessingSnapshot Snapshot,
                                                      TyValidationRequest Options,
                                                      CyJavaHost* Host) {
  return std::make_unique<CyBackgroundRun>(
      [snapshot = std::move(Snapshot), options = std::move(Options), Host](std::stop_token Stop) {
        const std::string text = ToUTF8(snapshot.Text);
        TyValidationRequest request = options;
        request.DocumentPath = snapshot.URL;
        request.DocumentText = &text;
        return ValidateDocument(request, Host, Stop).Errs;
      });
}

std::unique_ptr<CyBackgroundRun> TransformInBackground(TyProcessingSnapshot Snapshot,
                                                       TyTransformation Options, CyJavaHost& Host) {
  return std::make_unique<CyBackgroundRun>(
      [snapshot = std::move(Snapshot), options = std::move(Options), &Host](std::stop_token Stop) {
        TyTransformation request = options;
        request.Document = {};
        request.Document.Text = ToUTF8(snapshot.Text);
        request.Document.URL = snapshot.URL;
        request.Document.HasText = true;
        return Transform(Host, request, Stop).Errs;
      });
}

}  // namespace xylem
