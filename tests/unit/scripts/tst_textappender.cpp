#include "scripts/TextAppender.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickTextDocument>
#include <QSignalSpy>
#include <QTest>

/// The appender on a real text area, as the message log uses it.
class TextAppenderTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void losesNothing_data();
    void losesNothing();
    void keepsTheUserResponsive();
    void clearDropsWhatIsPending();

private:
    [[nodiscard]] QString shown() const { return m_document->toRawText(); }

    QQmlEngine m_engine;
    std::unique_ptr<QObject> m_area;
    std::unique_ptr<TextAppender> m_appender;
    QTextDocument *m_document = nullptr;
};

void TextAppenderTest::init()
{
    QQmlComponent component(&m_engine);
    component.setData("import QtQuick\nTextEdit { textFormat: TextEdit.PlainText; "
                      "wrapMode: TextEdit.Wrap; width: 800 }",
                      QUrl());
    m_area.reset(component.create());
    QVERIFY2(m_area, qPrintable(component.errorString()));
    auto *document = m_area->property("textDocument").value<QQuickTextDocument *>();
    m_document = document->textDocument();
    m_appender = std::make_unique<TextAppender>();
    m_appender->setDocumentFromQML(document);
}

void TextAppenderTest::losesNothing_data()
{
    QTest::addColumn<QStringList>("pieces");
    QTest::addColumn<QString>("expected"); // as a document holds it: U+2029 ends a line

    const QString end(QChar::ParagraphSeparator);
    QString everyByte;
    for (int byte = 1; byte < 256; ++byte) {
        if (byte != '\n' && byte != '\r')
            everyByte += QChar(byte);
    }
    QTest::newRow("one") << QStringList{"a\n"} << "a" + end;
    QTest::newRow("in order") << QStringList{"a", "b\n", "", "c"} << "ab" + end + "c";
    QTest::newRow("markup") << QStringList{"<b>&amp;</b>"} << "<b>&amp;</b>";
    QTest::newRow("every byte") << QStringList{everyByte} << everyByte;
    QTest::newRow("NUL") << QStringList{QString(u'\0')} << QString(u'\0');
    const QString fill(TextAppender::MaxPortion - 1, u'x');
    QTest::newRow("line end across portions") << QStringList{fill + "\r\nb"} << fill + end + "b";
    QTest::newRow("many portions")
        << QStringList{"a", fill.repeated(5), "b"} << "a" + fill.repeated(5) + "b";
}

void TextAppenderTest::losesNothing()
{
    QFETCH(const QStringList, pieces);
    QFETCH(const QString, expected);
    for (const QString &piece : pieces)
        m_appender->append(piece);
    QTRY_COMPARE(shown().size(), expected.size());
    QCOMPARE(shown(), expected);
}

/// However much has arrived, the event loop gets its turn in between.
void TextAppenderTest::keepsTheUserResponsive()
{
    const QString text =
        QStringLiteral("thirty-nine characters in a line of text\n").repeated(20000);
    QSignalSpy appended(m_appender.get(), &TextAppender::appended);
    m_appender->append(text);
    QVERIFY(shown().size() >= TextAppender::MaxPortion);
    QVERIFY(shown().size() < text.size());
    QTRY_COMPARE_WITH_TIMEOUT(m_document->characterCount() - 1, text.size(), 30000);
    QVERIFY(appended.size() > 2);
    QVERIFY(!m_document->isUndoAvailable());
}

void TextAppenderTest::clearDropsWhatIsPending()
{
    m_appender->append(QString(TextAppender::MaxPortion * 2, u'x'));
    m_appender->clear();
    m_appender->append("later");
    QTRY_COMPARE(shown(), QStringLiteral("later"));
}

QTEST_MAIN(TextAppenderTest)
#include "tst_textappender.moc"
