#include "app/FindBar.hpp"

#include <QCheckBox>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>

#include "app/TextView.hpp"
#include "common/Exception.hpp"

namespace xylem {

namespace {

std::u16string ToU16(const QString& Text) {
  return std::u16string(reinterpret_cast<const char16_t*>(Text.utf16()),
                        static_cast<size_t>(Text.size()));
}

}  // namespace

CyFindBar::CyFindBar(QWidget* Parent) : QWidget(Parent) {
  Find_ = new QLineEdit(this);
  Find_->setPlaceholderText(tr("Find"));
  Replace_ = new QLineEdit(this);
  Replace_->setPlaceholderText(tr("Replace with"));
  RegExpr_ = new QCheckBox(tr("Regular expression"), this);
  Case_ = new QCheckBox(tr("Match case"), this);
  Word_ = new QCheckBox(tr("Whole word"), this);
  Message_ = new QLabel(this);
  Message_->setStyleSheet(QStringLiteral("color: #d02020"));
  auto button = [this](const QString& Text, auto Slot) {
    auto* b = new QPushButton(Text, this);
    b->setAutoDefault(false);
    connect(b, &QPushButton::clicked, this, [this, Slot] { (this->*Slot)(); });
    return b;
  };
  auto* close = new QToolButton(this);
  close->setText(QStringLiteral("✕"));
  connect(close, &QToolButton::clicked, this, [this] {
    hide();
    if (View_) View_->setHighlightText({}, false), View_->setFocus();
  });
  auto* grid = new QGridLayout(this);
  grid->setContentsMargins(4, 2, 4, 2);
  grid->addWidget(Find_, 0, 0);
  grid->addWidget(button(tr("Next"), &CyFindBar::FindNext), 0, 1);
  grid->addWidget(button(tr("Previous"), &CyFindBar::FindPrevious), 0, 2);
  grid->addWidget(RegExpr_, 0, 3);
  grid->addWidget(Case_, 0, 4);
  grid->addWidget(Word_, 0, 5);
  grid->addWidget(close, 0, 6);
  grid->addWidget(Replace_, 1, 0);
  grid->addWidget(button(tr("Replace"), &CyFindBar::ReplaceAndFindNext), 1, 1);
  grid->addWidget(button(tr("Replace All"), &CyFindBar::ReplaceAll), 1, 2);
  grid->addWidget(button(tr("Replace Rest"), &CyFindBar::ReplaceRest), 1, 3);
  grid->addWidget(Message_, 1, 4, 1, 3);
  grid->setColumnStretch(0, 1);
  connect(Find_, &QLineEdit::returnPressed, this, &CyFindBar::FindNext);
  connect(Replace_, &QLineEdit::returnPressed, this, &CyFindBar::ReplaceAndFindNext);
  connect(Find_, &QLineEdit::textChanged, this, &CyFindBar::UpdateHighlight);
  for (QCheckBox* box : {RegExpr_, Case_, Word_})
    connect(box, &QCheckBox::toggled, this, &CyFindBar::UpdateHighlight);
}

void CyFindBar::setView(CyTextView* View) {
  if (View_) View_->setHighlightText({}, false);
  View_ = View;
  UpdateHighlight();
}

void CyFindBar::Activate(bool Replace) {
  show();
  // The selection of one line becomes the pattern.
  if (View_) {
    const TySelection& selection = View_->getDocument().getSelection();
    if (!selection.isEmpty() && selection.Anchor.Line == selection.Caret.Line) {
      const std::u16string text = View_->getDocument().getText(selection.getRange());
      Find_->setText(QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size())));
    }
  }
  QLineEdit* edit = Replace ? Replace_ : Find_;
  edit->setFocus();
  edit->selectAll();
}

QString CyFindBar::getMessage() const { return Message_->text(); }

TySearchQuery CyFindBar::getQuery() const {
  TySearchQuery query;
  query.SearchWhat = ToU16(Find_->text());
  query.RegExpr = RegExpr_->isChecked();
  query.CaseSensitive = Case_->isChecked();
  query.WholeWordOnly = Word_->isChecked() && !query.RegExpr;
  return query;
}

void CyFindBar::ShowMessage(const QString& Message) { Message_->setText(Message); }

void CyFindBar::UpdateHighlight() {
  ShowMessage({});
  if (!View_) return;
  // Plain patterns only: a regular expression is highlighted by selecting its match.
  const bool plain = !RegExpr_->isChecked() && !Word_->isChecked();
  View_->setHighlightText(plain ? Find_->text() : QString(), Case_->isChecked());
}

bool CyFindBar::Find(bool Forward) {
  if (!View_ || Find_->text().isEmpty()) return false;
  TxMarkupDocument& document = View_->getDocument();
  try {
    CyEditorSearch search(document, getQuery());
    const TyTextRange selection = document.getSelection().getRange();
    TyTextRange match;
    const bool found = Forward ? search.FindNext(selection.End, match)
                               : search.FindPrevious(selection.Start, match);
    if (!found) {
      ShowMessage(tr("Not found"));
      return false;
    }
    ShowMessage({});
    View_->setSelection({match.Start, match.End});
    return true;
  } catch (const CyException& e) {
    ShowMessage(QString::fromStdString(e.what()));
    return false;
  }
}

bool CyFindBar::FindNext() { return Find(true); }
bool CyFindBar::FindPrevious() { return Find(false); }

bool CyFindBar::ReplaceAndFindNext() {
  return RunReplace([this](TxMarkupDocument& Document, const TySearchQuery& Query,
                           std::u16string_view Replacement) {
    const bool found = ReplaceSelectionAndFindNext(Document, Query, Replacement);
    ShowMessage(found ? QString() : tr("Not found"));
    return found;
  });
}

bool CyFindBar::ReplaceAll() {
  return RunReplace([this](TxMarkupDocument& Document, const TySearchQuery& Query,
                           std::u16string_view Replacement) {
    int64_t count = 0;
    const bool replaced = ReplaceAllInDocument(Document, Query, Replacement, count);
    ShowMessage(tr("%n replaced", nullptr, static_cast<int>(count)));
    return replaced;
  });
}

bool CyFindBar::ReplaceRest() {
  return RunReplace([this](TxMarkupDocument& Document, const TySearchQuery& Query,
                           std::u16string_view Replacement) {
    int64_t count = 0;
    const bool replaced = ReplaceRestInDocument(Document, Query, Replacement, true, count);
    ShowMessage(tr("%n replaced", nullptr, static_cast<int>(count)));
    return replaced;
  });
}

bool CyFindBar::RunReplace(const TyReplaceCommand& Command) {
  if (!View_ || Find_->text().isEmpty()) return false;
  if (View_->getReadOnly()) {
    ShowMessage(tr("The document is still loading."));
    return false;
  }
  try {
    const bool done = Command(View_->getDocument(), getQuery(), ToU16(Replace_->text()));
    View_->setSelection(View_->getDocument().getSelection());
    return done;
  } catch (const CyException& e) {
    ShowMessage(QString::fromStdString(e.what()));
    return false;
  }
}

}  // namespace xylem
