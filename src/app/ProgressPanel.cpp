#include "app/ProgressPanel.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QToolButton>

#include "app/BackgroundJob.hpp"

namespace xylem {

CyProgressPanel::CyProgressPanel(QWidget* Parent) : QWidget(Parent) {
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  Stage_ = new QLabel(this);
  // Room for the longest stage name, so the status bar does not clip it.
  Stage_->setMinimumWidth(Stage_->fontMetrics().horizontalAdvance(tr("Formatting")) + 8);
  Bar_ = new QProgressBar(this);
  Bar_->setMaximumWidth(180);
  Bar_->setMaximumHeight(16);
  Bar_->setTextVisible(false);
  Cancel_ = new QToolButton(this);
  Cancel_->setText(tr("Cancel"));
  Cancel_->setToolTip(tr("Stop this work (Esc)"));
  layout->addWidget(Stage_);
  layout->addWidget(Bar_);
  layout->addWidget(Cancel_);
  connect(Cancel_, &QToolButton::clicked, this, &CyProgressPanel::cancelRequested);
  Timer_ = new QTimer(this);
  Timer_->setInterval(100);
  connect(Timer_, &QTimer::timeout, this, &CyProgressPanel::Refresh);
  Timer_->start();
  hide();
}

QString CyProgressPanel::getStageText() const { return Stage_->text(); }

void CyProgressPanel::Refresh() {
  const CyJobProgress* job = Source_ ? Source_() : nullptr;
  if (!job || job->getElapsed().count() < ShowDelay_) {
    if (!isHidden()) {
      hide();
      Q_EMIT shownChanged(false);
    }
    return;
  }
  const QString stage = QString::fromLatin1(job->getStage());
  Stage_->setText(stage.isEmpty() ? tr("Working") : stage);
  const uint64_t total = job->getTotal();
  if (total == 0) {
    Bar_->setRange(0, 0);  // busy
  } else {
    // Per mille: the bar's int range cannot hold a big file's byte count.
    Bar_->setRange(0, 1000);
    Bar_->setValue(static_cast<int>(std::min<uint64_t>(1000, job->getDone() * 1000 / total)));
  }
  if (isHidden()) {
    show();
    Q_EMIT shownChanged(true);
  }
}

}  // namespace xylem
