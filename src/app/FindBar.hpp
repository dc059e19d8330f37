#pragma once
// CyFindBar: the find and replace bar under the view: the pattern (plain text or regular
// expression, case, whole word), next and previous, replace, replace all and replace rest.
// A bad pattern or replacement template shows its message in the bar and changes nothing; the
// visible occurrences of a plain pattern are highlighted in the view.
//
// GUI thread only; works on the view given with setView (none: the bar does nothing).

#include <QWidget>
#include <functional>
#include <string_view>

#include "editor/Search.hpp"

class QCheckBox;
class QLabel;
class QLineEdit;

namespace xylem {

class CyTextView;

class CyFindBar : public QWidget {
  Q_OBJECT

 public:
  explicit CyFindBar(QWidget* Parent = nullptr);

  void setView(CyTextView* View);
  // Shows the bar with the focus in the pattern (Replace: in the replacement).
  void Activate(bool Replace);

  QLineEdit* getFindEdit() const { return Find_; }
  QLineEdit* getReplaceEdit() const { return Replace_; }
  QCheckBox* getRegExprBox() const { return RegExpr_; }
  QCheckBox* getCaseBox() const { return Case_; }
  QCheckBox* getWordBox() const { return Word_; }
  // The message of the last failure ("" when the last command worked).
  QString getMessage() const;
  TySearchQuery getQuery() const;

  // The commands; each returns false (with a message) when nothing was found or the pattern
  // or template is bad.
  bool FindNext();
  bool FindPrevious();
  bool ReplaceAndFindNext();
  bool ReplaceAll();
  bool ReplaceRest();

 private:
  using TyReplaceCommand =
      std::function<bool(TxMarkupDocument&, const TySearchQuery&, std::u16string_view Replacement)>;
  bool Find(bool Forward);
  // Runs a replace command on the view's document with the bar's pattern and replacement: none
  // without a pattern; a refused pattern or template shows its message; the view's selection
  // follows the document's.
  bool RunReplace(const TyReplaceCommand& Command);
  void ShowMessage(const QString& Message);
  void UpdateHighlight();

  CyTextView* View_ = nullptr;
  QLineEdit* Find_;
  QLineEdit* Replace_;
  QCheckBox* RegExpr_;
  QCheckBox* Case_;
  QCheckBox* Word_;
  QLabel* Message_;
};

}  // namespace xylem
