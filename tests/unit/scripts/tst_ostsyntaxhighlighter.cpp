#include "scripts/OSTSyntaxHighlighter.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

/// Works on the document of a real text area, as the window does.
class OSTSyntaxHighlighterTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void colours_data();
    void colours();

private:
    QQmlEngine m_engine;
    std::unique_ptr<QObject> m_textArea;
    QTextDocument *m_document = nullptr;
    OSTSyntaxHighlighter m_highlighter;
};

void OSTSyntaxHighlighterTest::initTestCase()
{
    QQmlComponent component(&m_engine);
    component.setData("import QtQuick\nTextEdit { textFormat: TextEdit.PlainText }", {});
    m_textArea.reset(component.create());
    QVERIFY2(m_textArea, qPrintable(component.errorString()));
    auto *quickDocument = m_textArea->property("textDocument").value<QQuickTextDocument *>();
    QVERIFY(quickDocument);
    m_highlighter.setDocumentFromQML(quickDocument);
    m_document = quickDocument->textDocument();
    QCOMPARE(m_highlighter.document(), m_document);
}

void OSTSyntaxHighlighterTest::colours_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("coloured");
    QTest::newRow("comment") << "# comment" << true;
    QTest::newRow("indented") << " \t # comment" << true;
    QTest::newRow("bare") << "#" << true;
    QTest::newRow("behind code") << "x = 1  # note" << false;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("blanks") << "    " << false;
}

void OSTSyntaxHighlighterTest::colours()
{
    QFETCH(const QString, line);
    QFETCH(const bool, coloured);
    // An open string in front shows that nothing is kept from line to line.
    m_textArea->setProperty("text", QStringLiteral("s = '''\n%1\nx = 2").arg(line));
    QCoreApplication::processEvents();

    QVERIFY(m_document->firstBlock().layout()->formats().isEmpty());
    QVERIFY(m_document->lastBlock().layout()->formats().isEmpty());
    const auto formats = m_document->findBlockByNumber(1).layout()->formats();
    QCOMPARE(formats.size(), coloured ? 1 : 0);
    if (!coloured)
        return;
    QCOMPARE(formats[0].start, 0);
    QCOMPARE(formats[0].length, line.size());
    QTextCharFormat expected;
    expected.setForeground(QColor(QStringLiteral("#FFFF80")));
    QCOMPARE(formats[0].format, expected);
}

QTEST_MAIN(OSTSyntaxHighlighterTest)
#include "tst_ostsyntaxhighlighter.moc"
