// The open element found for "</", table-driven against names worked out by hand, and typing
// "</" in the view closing the right element (tags inside comments, CDATA, attribute values
// and processing instructions never count).

#include "app/OpenElement.hpp"

#include <QtTest>

#include "app/TextView.hpp"
#include "editor/Document.hpp"

using namespace xylem;

namespace {

QString Q(std::u16string_view Text) {
  return QString::fromUtf16(Text.data(), static_cast<qsizetype>(Text.size()));
}

}  // namespace

class OpenElementTest : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  // "|" marks the position asked about.
  void FindsInnermostOpenElement_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("nested") << "<a><b><c>x</c>|"
                            << "b";
    QTest::newRow("empty element") << "<a><b/>|"
                                   << "a";
    QTest::newRow("empty with attributes") << "<a>\n<b x=\"1\"\n y='2'/>\n|"
                                           << "a";
    QTest::newRow("closed sibling") << "<a>\n  <b>t</b>\n  <c>\n    <d/>\n  </c>\n  |"
                                    << "a";
    QTest::newRow("prefixed") << "<x:a xmlns:x='u'><x:b>|"
                              << "x:b";
    QTest::newRow("comment") << "<a><!-- <b> -->|"
                             << "a";
    QTest::newRow("multi-line comment") << "<a>\n<!--\n<b>\n-->\n|"
                                        << "a";
    QTest::newRow("cdata") << "<a><![CDATA[<b>]]>|"
                           << "a";
    QTest::newRow("attribute value") << "<a t=\"<b>\">|"
                                     << "a";
    QTest::newRow("pi") << "<a><?p <b>?>|"
                        << "a";
    QTest::newRow("all closed") << "<a></a>|"
                                << "";
    QTest::newRow("before the root") << "|<a>"
                                     << "";
    QTest::newRow("middle of a line") << "<a><b>|</b></a>"
                                      << "b";
  }
  void FindsInnermostOpenElement() {
    QFETCH(QString, text);
    QFETCH(QString, expected);
    const qsizetype mark = text.indexOf(QLatin1Char('|'));
    const QString before = text.left(mark);
    text.remove(mark, 1);
    TxMarkupDocument document;
    document.LoadFromText(
        std::u16string(reinterpret_cast<const char16_t*>(text.utf16()), text.size()), "t.xml");
    const int64_t line = before.count(QLatin1Char('\n')) + 1;
    const int64_t linepos = before.size() - before.lastIndexOf(QLatin1Char('\n'));
    QCOMPARE(Q(FindOpenElementName(document, {line, linepos})), expected);
  }

  // Every tag name finds its partner, checked against a stack walk over the same text made
  // by hand: start tags push, end tags pop and pair, empty tags pair with nothing.
  void MatchingTagsPairUp() {
    const std::u16string text =
        u"<r>\n  <a x='<b>'>\n    <b/><c>t</c>\n    <!-- <a> -->\n  </a>\n  <d\n    y='1'>"
        u"<e/></d>\n</r>";
    TxMarkupDocument document;
    document.LoadFromText(text, "t.xml");
    struct TyExpected {
      TyTextPosition Name;
      bool Has;
      TyTextPosition Match;
    };
    const TyExpected cases[] = {
        {{1, 2}, true, {8, 3}},   {{8, 3}, true, {1, 2}},  {{2, 4}, true, {5, 5}},
        {{5, 5}, true, {2, 4}},   {{3, 6}, false, {0, 0}}, {{3, 10}, true, {3, 15}},
        {{3, 15}, true, {3, 10}}, {{6, 4}, true, {7, 17}}, {{7, 17}, true, {6, 4}},
        {{7, 12}, false, {0, 0}},
    };
    for (const TyExpected& c : cases) {
      TyTagName tag, match;
      QVERIFY2(FindTagNameAt(document, c.Name, tag),
               qPrintable(QStringLiteral("no tag at %1:%2").arg(c.Name.Line).arg(c.Name.Linepos)));
      QCOMPARE(FindMatchingTag(document, tag, match), c.Has);
      if (c.Has) {
        QCOMPARE(match.Start, c.Match);
        QCOMPARE(Q(match.Name), Q(tag.Name));
      }
    }
    TyTagName none;
    QVERIFY(!FindTagNameAt(document, {4, 11}, none));  // inside a comment
    QVERIFY(!FindTagNameAt(document, {2, 12}, none));  // inside an attribute value
  }

  // Typing "</" closes the open element; in plain text nothing is added.
  void TypingSlashAfterLessThanClosesTag() {
    for (const bool xml : {true, false}) {
      TxMarkupDocument document;
      document.LoadFromText(u"<root>\n  <item>text", "t.xml");
      if (!xml) document.setKind(TyDocumentKind::dkText);
      CyTextView view(document);
      view.resize(400, 200);
      view.show();
      view.setSelection(TySelection::At(document.getEndPosition()));
      QTest::keyClicks(&view, QStringLiteral("</"));
      QCOMPARE(Q(document.getLine(2)),
               xml ? QStringLiteral("  <item>text</item>") : QStringLiteral("  <item>text</"));
    }
  }
};

QTEST_MAIN(OpenElementTest)
#include "OpenElementTest.moc"
