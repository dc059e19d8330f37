// The XPath tool window: typing checks the expression (a message with the failing position,
// none for a valid one), colours tokens by the XPath scheme, and offers at the caret what the
// parser would accept there.

#include "app/XPathWindow.hpp"

#include <QPlainTextEdit>
#include <QSyntaxHighlighter>
#include <QTextBlock>
#include <QtTest>

#include "xpath/EmbeddedColoringScheme.hpp"

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
};

QTEST_MAIN(XPathWindowTest)
#include "XPathWindowTest.moc"
