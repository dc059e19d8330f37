#include "app/XPathWindow.hpp"

#include <QAbstractItemView>
#include <QCompleter>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStandardItemModel>
#include <QSyntaxHighlighter>
#include <QVBoxLayout>
#include <memory>
#include <string>
#include <vector>

#include "common/Utf.hpp"
#include "diag/ErrList.hpp"
#include "diag/ErrLocation.hpp"
#include "diag/ErrRecord.hpp"
#include "processors/HostRequests.hpp"
#include "processors/JavaHost.hpp"
#include "xpath/Checker.hpp"
#include "xpath/EmbeddedColoring.hpp"
#include "xpath/Functions.hpp"

namespace xylem {

namespace {

std::u16string ToU16(const QString& Text) {
  return std::u16string(reinterpret_cast<const char16_t*>(Text.utf16()),
                        static_cast<size_t>(Text.size()));
}

QString FromU16(std::u16string_view Text) {
  return QString::fromUtf16(Text.data(), static_cast<qsizetype>(Text.size()));
}

// Roles of a completion item: the text inserted and whether it is a function.
constexpr int kInsertRole = Qt::UserRole;
constexpr int kFunctionRole = Qt::UserRole + 1;

}  // namespace

// Colours each block (line) of the expression from one colouring of the whole text and
// underlines the failing token.
class CyXPathHighlighter : public QSyntaxHighlighter {
 public:
  explicit CyXPathHighlighter(QTextDocument* Document) : QSyntaxHighlighter(Document) {}

  void setDark(bool Dark) {
    Scheme_ = Dark ? CyXPathColoring::DefaultDark() : CyXPathColoring::DefaultLight();
    rehighlight();
  }
  // The failing token as 0-based [Start, End] in the whole text, or Start < 0 for none.
  void setError(int Start, int End) {
    ErrorStart_ = Start;
    ErrorEnd_ = End;
  }

 protected:
  void highlightBlock(const QString& /*Text*/) override {
    // One colouring over all lines; cheap for expressions of a few lines.
    const QString all = document()->toPlainText();
    std::vector<std::u16string> lines;
    for (const QString& line : all.split(QLatin1Char('\n'))) lines.push_back(ToU16(line));
    CyXPathEmbeddedLineColoring coloring(lines, xprExpr, 1, 1, Scheme_);
    const int lineNumber = currentBlock().blockNumber() + 1;
    for (coloring.First(lineNumber); !coloring.IsDone(); coloring.Next()) {
      QTextCharFormat format;
      if (coloring.ItemForegroundColor() != kNoColor)
        format.setForeground(QColor(QRgb(0xff000000u | coloring.ItemForegroundColor())));
      if (coloring.ItemStyles() & fsBold) format.setFontWeight(QFont::Bold);
      if (coloring.ItemStyles() & fsItalic) format.setFontItalic(true);
      setFormat(static_cast<int>(coloring.ItemLinepos() - 1),
                static_cast<int>(coloring.ItemTextCount()), format);
    }
    if (ErrorStart_ < 0) return;
    const int blockStart = currentBlock().position();
    const int from = std::max(ErrorStart_, blockStart);
    const int to = std::min(ErrorEnd_ + 1, blockStart + currentBlock().length());
    for (int i = from; i < to; ++i) {
      QTextCharFormat f = format(i - blockStart);
      f.setUnderlineStyle(QTextCharFormat::WaveUnderline);
      f.setUnderlineColor(Qt::red);
      setFormat(i - blockStart, 1, f);
    }
  }

 private:
  CyXPathColoring Scheme_ = CyXPathColoring::DefaultLight();
  int ErrorStart_ = -1;
  int ErrorEnd_ = -1;
};

CyXPathWindow::CyXPathWindow(QWidget* Parent) : QWidget(Parent) {
  Editor_ = new QPlainTextEdit(this);
  Editor_->setPlaceholderText(tr("XPath expression (Ctrl+Space completes, Ctrl+Return evaluates)"));
  Editor_->setFont(QFont(QStringLiteral("monospace")));
  Editor_->setMaximumHeight(90);
  Editor_->installEventFilter(this);
  Message_ = new QLabel(this);
  Message_->setWordWrap(true);
  Highlighter_ = new CyXPathHighlighter(Editor_->document());
  Completions_ = new QStandardItemModel(this);
  Completer_ = new QCompleter(Completions_, this);
  Completer_->setWidget(Editor_);
  Completer_->setCompletionMode(QCompleter::PopupCompletion);
  Completer_->setCaseSensitivity(Qt::CaseInsensitive);
  Completer_->setCompletionRole(kInsertRole);
  connect(Completer_, qOverload<const QModelIndex&>(&QCompleter::activated), this,
          &CyXPathWindow::InsertCompletion);
  // The completer offers Return to the editor first, which would take it as a line break:
  // this filter, installed after the completer's own, sees it first.
  Completer_->popup()->installEventFilter(this);
  EvaluateButton_ = new QPushButton(tr("Evaluate"), this);
  ResultMessage_ = new QLabel(this);
  ResultMessage_->setWordWrap(true);
  Results_ = new QListWidget(this);
  Results_->setFont(Editor_->font());
  auto* row = new QHBoxLayout;
  row->addWidget(Message_, 1);
  row->addWidget(EvaluateButton_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(2, 2, 2, 2);
  layout->addWidget(Editor_);
  layout->addLayout(row);
  layout->addWidget(ResultMessage_);
  layout->addWidget(Results_, 1);
  connect(Editor_, &QPlainTextEdit::textChanged, this, &CyXPathWindow::Recheck);
  connect(EvaluateButton_, &QPushButton::clicked, this, [this] {
    if (Job_.getRunning())
      CancelEvaluation();
    else
      Evaluate();
  });
}

CyXPathWindow::~CyXPathWindow() = default;

void CyXPathWindow::setDark(bool Dark) { Highlighter_->setDark(Dark); }

QString CyXPathWindow::getMessage() const { return Message_->text(); }

void CyXPathWindow::Recheck() {
  const std::u16string text = ToU16(Editor_->toPlainText());
  CyXPath31Checker checker(text, xprExpr);
  QSignalBlocker blocker(Editor_);  // the highlighter's repaint changes no text
  if (checker.Check()) {
    Message_->clear();
    Highlighter_->setError(-1, -1);
  } else {
    const TyXPath31CheckError& error = checker.getError();
    Message_->setText(tr("%1 (position %2)").arg(FromU16(error.Message)).arg(error.TokenStart + 1));
    Highlighter_->setError(error.TokenStart, error.TokenEnd);
  }
  Highlighter_->rehighlight();
}

QStringList CyXPathWindow::getExpectedAtCaret() const {
  // The text before the caret, without the word being typed, fails at its end with what
  // would be accepted there.
  QString before = Editor_->toPlainText().left(Editor_->textCursor().position());
  qsizetype cut = before.size();
  while (cut > 0 && (before[cut - 1].isLetterOrNumber() || before[cut - 1] == u'-' ||
                     before[cut - 1] == u'_' || before[cut - 1] == u':'))
    --cut;
  before.truncate(cut);
  CyXPath31Checker checker(ToU16(before) + u" \u0001", xprExpr);
  QStringList expected;
  if (checker.Check()) return expected;
  for (const std::u16string& name : checker.getError().Expected) {
    const QString item = FromU16(name);
    // Token classes (NCName, StringLiteral...) and the end of input are not text to insert.
    if (item.isEmpty() || item.at(0).isUpper() || item == QLatin1String("end")) continue;
    if (!expected.contains(item)) expected.push_back(item);
  }
  return expected;
}

QList<TyXPathCompletion> CyXPathWindow::getCompletionsAtCaret() const {
  QList<TyXPathCompletion> completions;
  for (const QString& token : getExpectedAtCaret()) completions.push_back({token, {}});
  // A name may stand at the caret: the parser expects one (token classes start upper-case).
  QString before = Editor_->toPlainText().left(Editor_->textCursor().position());
  qsizetype cut = before.size();
  while (cut > 0 && (before[cut - 1].isLetterOrNumber() || before[cut - 1] == u'-' ||
                     before[cut - 1] == u'_' || before[cut - 1] == u':'))
    --cut;
  CyXPath31Checker checker(ToU16(before.left(cut)) + u" \u0001", xprExpr);
  if (checker.Check()) return completions;
  const std::vector<std::u16string>& expected = checker.getError().Expected;
  const bool name = std::any_of(expected.begin(), expected.end(), [](const std::u16string& e) {
    return e == u"EQName" || e == u"NCName";
  });
  if (!name) return completions;
  for (const TyXPathFunction& function : XPathFunctionLibrary())
    completions.push_back(
        {QString::fromUtf8(function.Name.data(), static_cast<qsizetype>(function.Name.size())),
         QString::fromUtf8(function.Signature.data(),
                           static_cast<qsizetype>(function.Signature.size()))});
  return completions;
}

void CyXPathWindow::InsertCompletion(const QModelIndex& Index) {
  QString text = Index.data(kInsertRole).toString();
  if (Index.data(kFunctionRole).toBool()) text += QLatin1Char('(');
  QTextCursor cursor = Editor_->textCursor();
  cursor.movePosition(QTextCursor::StartOfWord, QTextCursor::KeepAnchor);
  // Replace the partial word typed before the caret only.
  if (!cursor.selectedText().trimmed().isEmpty() &&
      text.startsWith(cursor.selectedText(), Qt::CaseInsensitive))
    cursor.removeSelectedText();
  else
    cursor = Editor_->textCursor();
  cursor.insertText(text);
}

void CyXPathWindow::ShowCompletions() {
  const QList<TyXPathCompletion> completions = getCompletionsAtCaret();
  if (completions.isEmpty()) return;
  Completions_->clear();
  for (const TyXPathCompletion& completion : completions) {
    // Functions show their signature (the first overload's parameters on the line, all of them
    // in the tool tip).
    auto* item = new QStandardItem(completion.Text +
                                   completion.Signature.section(QStringLiteral(" | "), 0, 0));
    item->setData(completion.Text, kInsertRole);
    item->setData(!completion.Signature.isEmpty(), kFunctionRole);
    if (!completion.Signature.isEmpty()) item->setToolTip(completion.Text + completion.Signature);
    Completions_->appendRow(item);
  }
  QTextCursor cursor = Editor_->textCursor();
  cursor.movePosition(QTextCursor::StartOfWord, QTextCursor::KeepAnchor);
  Completer_->setCompletionPrefix(cursor.selectedText().trimmed());
  QRect rect = Editor_->cursorRect();
  rect.setWidth(std::min(600, Completer_->popup()->sizeHintForColumn(0) + 30));
  Completer_->complete(rect);
}

// ---- Evaluation.

QString CyXPathWindow::getResultMessage() const { return ResultMessage_->text(); }

void CyXPathWindow::CancelEvaluation() { Job_.Cancel(); }

void CyXPathWindow::ShowError(const QString& Message, int Start, int End) {
  ResultMessage_->setText(Message);
  if (Start < 0) return;
  Highlighter_->setError(Start, End);
  QSignalBlocker blocker(Editor_);
  Highlighter_->rehighlight();
}

void CyXPathWindow::Evaluate() {
  Job_.Cancel();
  Job_.Wait();
  Results_->clear();
  const QString expression = Editor_->toPlainText();
  if (expression.trimmed().isEmpty()) return;
  CyXPath31Checker checker(ToU16(expression), xprExpr);
  if (!checker.Check()) {
    // The own parser knows the failing token; the processor need not be started for that.
    const TyXPath31CheckError& error = checker.getError();
    ShowError(tr("%1 (position %2)").arg(FromU16(error.Message)).arg(error.TokenStart + 1),
              error.TokenStart, error.TokenEnd);
    return;
  }
  if (!CyJavaHost::IsBuiltIn()) {
    ResultMessage_->setText(
        tr("XPath evaluation needs the Java processor host, which this build "
           "left out."));
    return;
  }
  TyXPathEvaluation request;
  request.Expression = expression.toStdString();
  request.RootNamespaces = true;
  TxDocumentSnapshotPtr snapshot = DocumentSource_ ? DocumentSource_() : nullptr;
  auto result = std::make_shared<TyProcessingResult>();
  ResultMessage_->setText(tr("Evaluating..."));
  EvaluateButton_->setText(tr("Cancel"));
  Job_.Start(
      [request, snapshot, result](const TyJobContext& Job) mutable {
        if (snapshot) {
          // The text is converted here, off the GUI thread (linear in the document).
          request.Document.Text = ToUTF8(snapshot->getText());
          request.Document.URL = snapshot->getPath();
          request.Document.HasText = true;
        }
        *result = EvaluateXPath(CyJavaHost::Shared(), request, Job.StopToken);
      },
      [this, result,
       documentURL = snapshot ? snapshot->getPath() : std::string()](const TyJobOutcome& Outcome) {
        EvaluateButton_->setText(tr("Evaluate"));
        if (Outcome.End == TyJobEnd::jeCancelled) {
          ResultMessage_->setText(tr("Cancelled"));
          return;
        }
        if (Outcome.End == TyJobEnd::jeFailed) {
          ResultMessage_->setText(Outcome.Message);
          return;
        }
        if (result->Ok) {
          for (const std::string& item : result->Items)
            Results_->addItem(QString::fromStdString(item));
          ResultMessage_->setText(
              tr("%n item(s)", nullptr, static_cast<int>(result->Items.size())));
          return;
        }
        if (!result->Errs || result->Errs->getCount() == 0) {
          ResultMessage_->setText(tr("The evaluation failed."));
          return;
        }
        const IyXMLErrPtr& err = result->Errs->getXMLErr(0);
        const IyXMLLocationPtr& at = err->getLocation();
        QString message = FromU16(err->getReason());
        if (!err->getReasonID().empty())
          message = FromU16(err->getReasonID()) + QStringLiteral(": ") + message;
        // A position outside the document is one in the expression: underline it there.
        int start = -1;
        if (at && at->getLine() >= 1 && at->getLinepos() >= 1 &&
            ToUTF8(at->getURL()) != documentURL) {
          const QStringList lines = Editor_->toPlainText().split(QLatin1Char('\n'));
          start = 0;
          for (int i = 0; i + 1 < at->getLine() && i < lines.size(); ++i)
            start += static_cast<int>(lines[i].size()) + 1;
          start += at->getLinepos() - 1;
          message += tr(" (line %1, position %2)").arg(at->getLine()).arg(at->getLinepos());
        }
        ShowError(message, start, start);
      },
      1, "Evaluating");
}

bool CyXPathWindow::eventFilter(QObject* Watched, QEvent* Event) {
  if (Watched == Completer_->popup() && Event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(Event)->key();
    if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Tab) {
      QModelIndex index = Completer_->popup()->currentIndex();
      if (!index.isValid()) index = Completer_->currentIndex();
      Completer_->popup()->hide();
      if (index.isValid()) InsertCompletion(index);
      return true;
    }
  }
  if (Watched == Editor_ && Event->type() == QEvent::KeyPress) {
    auto* key = static_cast<QKeyEvent*>(Event);
    if (key->key() == Qt::Key_Space && (key->modifiers() & Qt::ControlModifier)) {
      ShowCompletions();
      return true;
    }
    if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) &&
        (key->modifiers() & Qt::ControlModifier)) {
      Evaluate();
      return true;
    }
  }
  return QWidget::eventFilter(Watched, Event);
}

}  // namespace xylem
