#include "scripts/TextAppender.h"
#include "support/Rows.h"
#include "TextEdit.h"

#include <QQuickItem>
#include <QSignalSpy>

using namespace testsupport;

/// The appender on a real text area, as the message log uses it.
class TextAppenderTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_edit = std::make_unique<TextEdit>();
        m_appender = std::make_unique<TextAppender>();
        m_appender->setDocumentFromQML(m_edit->quickDocument());
    }

    void losesNothing_data()
    {
        const QString end(QChar::ParagraphSeparator);
        const QString fill(TextAppender::MaxPortion - 1, u'x');
        QString everyByte;
        for (int byte = 1; byte < 256; ++byte) {
            if (byte != '\n' && byte != '\r')
                everyByte += QChar(byte);
        }
        const Rows<QStringList, QString> add; // as a document holds it: U+2029 ends a line
        add("in order", {"a", "b\n", "", "c"}, "ab" + end + "c");
        add("markup", {"<b>&amp;</b>"}, "<b>&amp;</b>");
        add("every byte", {everyByte}, everyByte);
        add("NUL", {QString(u'\0')}, QString(u'\0'));
        add("line end across portions", {fill + "\r\nb"}, fill + end + "b");
        add("line ends in two pieces", {"a\r", "\nb\r", "c\n", "\nd"},
            "a" + end + "b" + end + "c" + end + end + "d");
        add("many portions", {"a", fill.repeated(5), "b"}, "a" + fill.repeated(5) + "b");
    }

    void losesNothing()
    {
        const auto [pieces, expected] = row<QStringList, QString>();
        for (const QString &piece : pieces)
            m_appender->append(piece);
        QTRY_COMPARE(shown().size(), expected.size());
        QCOMPARE(shown(), expected);
    }

    /// However much has arrived, the event loop gets its turn in between.
    void keepsTheUserResponsive()
    {
        const QString text = QString("thirty-nine characters in a line of text\n").repeated(20000);
        QSignalSpy appended(m_appender.get(), &TextAppender::appended);
        m_appender->append(text);
        QVERIFY(shown().size() >= TextAppender::MaxPortion);
        QVERIFY(shown().size() < text.size());
        QTRY_COMPARE_WITH_TIMEOUT(m_edit->document()->characterCount() - 1, text.size(), 30000);
        QVERIFY(appended.size() > 2);
        QVERIFY(!m_edit->document()->isUndoAvailable());
    }

    void clearDropsWhatIsPending()
    {
        m_appender->append(QString(TextAppender::MaxPortion * 2, u'x'));
        m_appender->clear();
        m_appender->append("later");
        QTRY_COMPARE(shown(), "later");
    }

private:
    [[nodiscard]] QString shown() const { return m_edit->document()->toRawText(); }

    std::unique_ptr<TextEdit> m_edit;
    std::unique_ptr<TextAppender> m_appender;
};

QTEST_MAIN(TextAppenderTest)
#include "tst_textappender.moc"
