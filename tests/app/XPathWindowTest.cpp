// The XPath tool window: typing checks the expression (a message with the failing position,
// none for a valid one), colours tokens by the XPath scheme, offers at the caret what the
// parser would accept there (with the function library where a name may stand), and evaluates
// against a document through the Java host (skipped when the build has none).

#include "app/XPathWindow.hpp"

#include <QAbstractItemView>
#include <QCompleter>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSyntaxHighlighter>
#include <QTextBlock>
#include <QtTest>

#include "editor/Document.hpp"
#include "processors/JavaHost.hpp"
#include "xpath/EmbeddedColoringScheme.hpp"
#include "xpath/Functions.hpp"

using namespace xylem;

class XPathWindowTest : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void CheckedAsTyped_data() {
    QTest::addColumn<QString>("expression");
    QTest::addColumn<bool>("valid");
    QTest::newRow("path") << "/catalog/product[@id = 'p1']/name" << true;
    QTest::newRow("flwor") << "for $p in //product return $p/@id" << true;
    QTest::newRow("function") << "count(//product) + 1" << true;
    QTest::newRow("missing operand") << "1 +" << false;
    QTest::newRow("unclosed predicate") << "//a[1" << false;
    QTest::newRow("bad token") << "a ! ! b" << false;
  }
  void CheckedAsTyped() {
    QFETCH(QString, expression);
    QFETCH(bool, valid);
    CyXPathWindow window;
    window.show();
    QTest::keyClicks(window.getEditor(), expression);
    QCOMPARE(window.getEditor()->toPlainText(), expression);
    QCOMPARE(window.getMessage().isEmpty(), valid);
    if (!valid)
      QVERIFY2(window.getMessage().contains(QStringLiteral("position")),
               qPrintable(window.getMessage()));
  }

  // After "1 " operators are expected; after "1 + " an operand (axes, kinds, literals...).
  void ExpectedTokensAtCaret() {
    CyXPathWindow window;
    window.getEditor()->setPlainText(QStringLiteral("1 "));
    window.getEditor()->moveCursor(QTextCursor::End);
    const QStringList afterOperand = window.getExpectedAtCaret();
    for (const char* token : {"and", "div", "+", "=", "instance"})
      QVERIFY2(afterOperand.contains(QLatin1String(token)), token);
    QVERIFY(!afterOperand.contains(QStringLiteral("child")));
    window.getEditor()->setPlainText(QStringLiteral("1 + "));
    window.getEditor()->moveCursor(QTextCursor::End);
    const QStringList afterOperator = window.getExpectedAtCaret();
    for (const char* token : {"child", "ancestor-or-self", "$", "@", "(", "//"})
      QVERIFY2(afterOperator.contains(QLatin1String(token)), token);
    // Neither operators nor token classes are offered for an operand.
    for (const char* token : {"and", "div", "NCName", "StringLiteral", "end"})
      QVERIFY2(!afterOperator.contains(QLatin1String(token)), token);
    // The word being typed does not count: "1 + chi" offers the same as "1 + ".
    window.getEditor()->setPlainText(QStringLiteral("1 + chi"));
    window.getEditor()->moveCursor(QTextCursor::End);
    QCOMPARE(window.getExpectedAtCaret(), afterOperator);
  }

  // The variable reference is painted in the scheme's colour for it.
  void TokensColoured() {
    CyXPathWindow window;
    window.getEditor()->setPlainText(QStringLiteral("$total * 2"));
    const QTextBlock block = window.getEditor()->document()->firstBlock();
    const QList<QTextLayout::FormatRange> formats = block.layout()->formats();
    QVERIFY(!formats.isEmpty());
    QSet<QRgb> colours;
    for (const QTextLayout::FormatRange& range : formats)
      colours.insert(range.format.foreground().color().rgb());
    QVERIFY2(colours.size() >= 2, "variable, operator and number take different colours");
  }

  // Where a name may stand, every function of the shared library is offered once with its
  // signature, after the tokens; where an operator must come, none is. Ctrl+Space pops them up
  // and choosing one inserts its name and "(".
  void FunctionsCompletedWithSignatures() {
    CyXPathWindow window;
    window.show();
    window.getEditor()->setPlainText(QStringLiteral("1 + co"));
    window.getEditor()->moveCursor(QTextCursor::End);
    const QList<TyXPathCompletion> completions = window.getCompletionsAtCaret();
    QStringList functions;
    for (const TyXPathCompletion& c : completions)
      if (!c.Signature.isEmpty()) functions << c.Text;
    QStringList library;
    for (const TyXPathFunction& f : XPathFunctionLibrary())
      library << QString::fromUtf8(f.Name.data(), static_cast<qsizetype>(f.Name.size()));
    QCOMPARE(functions, library);
    QVERIFY(completions.contains(TyXPathCompletion{
        QStringLiteral("count"), QStringLiteral("($arg as item()*) as xs:integer")}));
    QCOMPARE(completions.first().Signature, QString());  // tokens first
    window.getEditor()->setPlainText(QStringLiteral("1 "));
    window.getEditor()->moveCursor(QTextCursor::End);
    for (const TyXPathCompletion& c : window.getCompletionsAtCaret())
      QVERIFY2(c.Signature.isEmpty(), qPrintable(c.Text));

    window.getEditor()->setPlainText(QStringLiteral("1 + coun"));
    window.getEditor()->moveCursor(QTextCursor::End);
    window.getEditor()->setFocus();
    QTest::keyClick(window.getEditor(), Qt::Key_Space, Qt::ControlModifier);
    QCompleter* completer = window.getEditor()->findChild<QCompleter*>();
    if (!completer) completer = window.findChild<QCompleter*>();
    QVERIFY(completer && completer->popup()->isVisible());
    QVERIFY(completer->currentIndex().data().toString().startsWith(QStringLiteral("count(")));
    QTest::keyClick(completer->popup(), Qt::Key_Return);
    QCOMPARE(window.getEditor()->toPlainText(), QStringLiteral("1 + count("));
  }

  // count(//x) over a small document lists its number; a syntax error is refused by the own
  // parser with its position, without the processor.
  void EvaluatesAgainstDocument() {
    CyXPathWindow window;
    window.show();
    TxMarkupDocument document;
    document.LoadFromText(u"<r><x/><y><x/></y><x>t</x></r>", "doc.xml");
    window.setDocumentSource([&document] { return document.CreateSnapshot(); });
    window.getEditor()->setPlainText(QStringLiteral("count(//x) +"));
    QTest::mouseClick(window.getEvaluateButton(), Qt::LeftButton);
    QVERIFY(!window.getEvaluating());
    QVERIFY2(window.getResultMessage().contains(QStringLiteral("position")),
             qPrintable(window.getResultMessage()));
    if (!CyJavaHost::IsBuiltIn()) QSKIP("built without the Java host");
    window.getEditor()->setPlainText(QStringLiteral("count(//x)"));
    QTest::mouseClick(window.getEvaluateButton(), Qt::LeftButton);
    QVERIFY(window.getEvaluating());
    QTRY_VERIFY_WITH_TIMEOUT(!window.getEvaluating(), 120000);
    QCOMPARE(window.getResults()->count(), 1);
    QCOMPARE(window.getResults()->item(0)->text(), QStringLiteral("3"));
    // A run cancelled at once shows nothing of its result.
    window.getEditor()->setPlainText(QStringLiteral("//x"));
    QTest::mouseClick(window.getEvaluateButton(), Qt::LeftButton);
    QTest::mouseClick(window.getEvaluateButton(), Qt::LeftButton);  // now "Cancel"
    QTRY_VERIFY(!window.getEvaluating());
    QCOMPARE(window.getResults()->count(), 0);
    QCOMPARE(window.getResultMessage(), QStringLiteral("Cancelled"));
  }
};

QTEST_MAIN(XPathWindowTest)
#include "XPathWindowTest.moc"
