#pragma once
// CyProgressPanel: the status bar's progress bar for long work (loading, checking, formatting):
// the stage's name, a bar (busy when the stage's size is unknown) and a Cancel button. It polls
// a source that names the job to show, so work that ends quickly never flashes a bar: a job is
// shown once it has run for the show delay.
//
// GUI thread only; reading a job's progress is lock-free.

#include <QWidget>
#include <functional>

class QLabel;
class QProgressBar;
class QTimer;
class QToolButton;

namespace xylem {

class CyJobProgress;

class CyProgressPanel : public QWidget {
  Q_OBJECT

 public:
  explicit CyProgressPanel(QWidget* Parent = nullptr);

  // The job to show now (null: none). Called on every poll and by Refresh.
  void setSource(std::function<const CyJobProgress*()> Source) { Source_ = std::move(Source); }
  // How long a job runs before it is shown (milliseconds).
  void setShowDelay(int Milliseconds) { ShowDelay_ = Milliseconds; }
  // Polls the source now (a job has started or ended).
  void Refresh();
  QToolButton* getCancelButton() const { return Cancel_; }
  QProgressBar* getBar() const { return Bar_; }
  QString getStageText() const;

 Q_SIGNALS:
  // The Cancel button was pressed.
  void cancelRequested();
  // The panel was shown (a job runs) or hidden.
  void shownChanged(bool Shown);

 private:
  std::function<const CyJobProgress*()> Source_;
  QLabel* Stage_;
  QProgressBar* Bar_;
  QToolButton* Cancel_;
  QTimer* Timer_;
  int ShowDelay_ = 400;
};

}  // namespace xylem
