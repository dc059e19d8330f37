#include "app/XPathWindow.hpp"

#include <QAbstractItemView>
#include <QCompleter>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QStringListModel>
#include <QSyntaxHighlighter>
#include <QVBoxLayout>
#include <string>
#include <vector>

#include "xpath/Checker.hpp"
#include "xpath/EmbeddedColoring.hpp"

namespace xylem {

namespace {

std::u16string ToU16(const QString& Text) {
  return std::u16string(reinterpret_cast<const char16_t*>(Text.utf16()),
                        static_cast<size_t>(Text.size()));
}

QString FromU16(std::u16string_view Text) {
  return QString::fromUtf16(Text.data(), static_cast<qsizetype>(Text.size()));
}

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
  Editor_->setPlaceholderText(tr("XPath expression"));
  Editor_->setFont(QFont(QStringLiteral("monospace")));
  Editor_->setMaximumHeight(90);
  Editor_->installEventFilter(this);
  Message_ = new QLabel(this);
  Message_->setWordWrap(true);
  Highlighter_ = new CyXPathHighlighter(Editor_->document());
  Completions_ = new QStringListModel(this);
  Completer_ = new QCompleter(Completions_, this);
  Completer_->setWidget(Editor_);
  Completer_->setCompletionMode(QCompleter::PopupCompletion);
  Completer_->setCaseSensitivity(Qt::CaseInsensitive);
  connect(Completer_, qOverload<const QString&>(&QCompleter::activated), this,
          [this](const QString& Text) {
            QTextCursor cursor = Editor_->textCursor();
            cursor.movePosition(QTextCursor::StartOfWord, QTextCursor::KeepAnchor);
            // Replace the partial word typed before the caret only.
            if (!cursor.selectedText().trimmed().isEmpty() &&
                Text.startsWith(cursor.selectedText(), Qt::CaseInsensitive))
              cursor.removeSelectedText();
            else
              cursor = Editor_->textCursor();
            cursor.insertText(Text);
          });
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(2, 2, 2, 2);
  layout->addWidget(Editor_);
  layout->addWidget(Message_);
  layout->addStretch(1);
  connect(Editor_, &QPlainTextEdit::textChanged, this, &CyXPathWindow::Recheck);
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

void CyXPathWindow::ShowCompletions() {
  const QStringList expected = getExpectedAtCaret();
  if (expected.isEmpty()) return;
  Completions_->setStringList(expected);
  QTextCursor cursor = Editor_->textCursor();
  cursor.movePosition(QTextCursor::StartOfWord, QTextCursor::KeepAnchor);
  Completer_->setCompletionPrefix(cursor.selectedText().trimmed());
  QRect rect = Editor_->cursorRect();
  rect.setWidth(Completer_->popup()->sizeHintForColumn(0) + 30);
  Completer_->complete(rect);
}

bool CyXPathWindow::eventFilter(QObject* Watched, QEvent* Event) {
  if (Watched == Editor_ && Event->type() == QEvent::KeyPress) {
    auto* key = static_cast<QKeyEvent*>(Event);
    if (key->key() == Qt::Key_Space && (key->modifiers() & Qt::ControlModifier)) {
      ShowCompletions();
      return true;
    }
  }
  return QWidget::eventFilter(Watched, Event);
}

}  // namespace xylem
