#pragma once
// CyXPathWindow: the XPath tool window's contents: an expression field coloured by the XPath
// colouring and checked as it is typed (the parser's message below the field, the failing
// token underlined), with completion of what the parser would accept at the caret (axes,
// keywords, operators, and where a name may stand the XPath 3.1 function library with each
// function's signature), and evaluation by Saxon-HE in the Java host against a snapshot of the
// current document: off the GUI thread, cancellable (the Evaluate button turns into Cancel),
// the items listed below, or the processor's message with its position underlined.
//
// GUI thread only. Each keystroke parses the expression twice (whole and up to the caret):
// linear in its length.

#include <QStringList>
#include <QWidget>
#include <functional>

#include "app/BackgroundJob.hpp"
#include "editor/Snapshot.hpp"

class QCompleter;
class QLabel;
class QListWidget;
class QModelIndex;
class QPlainTextEdit;
class QPushButton;
class QStandardItemModel;

namespace xylem {

class CyXPathHighlighter;

// One completion: the text inserted, and for a function its signature.
struct TyXPathCompletion {
  QString Text;
  QString Signature;  // "" for keywords and operators
  bool operator==(const TyXPathCompletion&) const = default;
};

class CyXPathWindow : public QWidget {
  Q_OBJECT

 public:
  explicit CyXPathWindow(QWidget* Parent = nullptr);
  ~CyXPathWindow() override;

  QPlainTextEdit* getEditor() const { return Editor_; }
  // The parser's message for the expression ("" when it parses).
  QString getMessage() const;
  // What the parser would accept at the caret (ascending token kinds, as the parser names them).
  QStringList getExpectedAtCaret() const;
  // What completion offers at the caret: the expected tokens, then the library's functions
  // when a name may stand there.
  QList<TyXPathCompletion> getCompletionsAtCaret() const;
  void setDark(bool Dark);

  // Where evaluation takes its context document from (null snapshot: no context item).
  void setDocumentSource(std::function<TxDocumentSnapshotPtr()> Source) {
    DocumentSource_ = std::move(Source);
  }
  // Evaluates the expression in the background (a running evaluation is cancelled first).
  void Evaluate();
  // Stops a running evaluation; its results are not shown.
  void CancelEvaluation();
  bool getEvaluating() const { return Job_.getRunning(); }
  QListWidget* getResults() const { return Results_; }
  QPushButton* getEvaluateButton() const { return EvaluateButton_; }
  // The evaluation's outcome: "3 items", the processor's message, "Cancelled"...
  QString getResultMessage() const;

 protected:
  bool eventFilter(QObject* Watched, QEvent* Event) override;

 private:
  void Recheck();
  void ShowCompletions();
  void InsertCompletion(const QModelIndex& Index);
  void ShowError(const QString& Message, int Start, int End);

  QPlainTextEdit* Editor_;
  QLabel* Message_;
  CyXPathHighlighter* Highlighter_;
  QCompleter* Completer_;
  QStandardItemModel* Completions_;
  QPushButton* EvaluateButton_;
  QLabel* ResultMessage_;
  QListWidget* Results_;
  std::function<TxDocumentSnapshotPtr()> DocumentSource_;
  CyBackgroundJob Job_;
};

}  // namespace xylem
