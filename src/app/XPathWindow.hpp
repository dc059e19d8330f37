#pragma once
// CyXPathWindow: the XPath tool window's contents: an expression field coloured by the XPath
// colouring and checked as it is typed (the parser's message below the field, the failing
// token underlined), with completion of what the parser would accept at the caret (axes,
// keywords, operators, function names). Evaluation is not offered yet.
//
// GUI thread only. Each keystroke parses the expression twice (whole and up to the caret):
// linear in its length.

#include <QStringList>
#include <QWidget>

class QCompleter;
class QLabel;
class QPlainTextEdit;
class QStringListModel;

namespace xylem {

class CyXPathHighlighter;

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
  void setDark(bool Dark);

 protected:
  bool eventFilter(QObject* Watched, QEvent* Event) override;

 private:
  void Recheck();
  void ShowCompletions();

  QPlainTextEdit* Editor_;
  QLabel* Message_;
  CyXPathHighlighter* Highlighter_;
  QCompleter* Completer_;
  QStringListModel* Completions_;
};

}  // namespace xylem
