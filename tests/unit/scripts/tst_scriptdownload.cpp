#include "LibraryHome.h"
#include "scripts/ScriptListModel.h"
#include "support/HttpServer.h"

#include <QPointer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

using scripts::writeLibrary;

namespace
{

HttpServer::Answer always(const QByteArray &response)
{
    return [response](QTcpSocket *socket) {
        socket->write(response);
        socket->disconnectFromHost();
    };
}

HttpServer::Answer ok(const QByteArray &body)
{
    return always(HttpServer::response("200 OK", body));
}

/// Sends zeros for as long as somebody takes them.
void sendWithoutEnd(QTcpSocket *socket)
{
    socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
    const QByteArray chunk(1 << 20, '0');
    QObject::connect(socket, &QTcpSocket::bytesWritten, socket, [socket, chunk] {
        if (socket->bytesToWrite() < chunk.size())
            socket->write(chunk);
    });
}

} // namespace

/// Downloads over real HTTP on loopback.
class ScriptDownloadTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void replacesTheList();
    void leavesTheListAlone_data();
    void leavesTheListAlone();
    void takesWhatFinishesLast();

private:
    [[nodiscard]] QString nameAt(int row) { return m_model->scriptNameAt(row); }

    LibraryHome m_home;
    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<ScriptListModel> m_model;
    static inline QStringList s_log;
};

void ScriptDownloadTest::init()
{
    m_server = std::make_unique<HttpServer>();
    m_model = std::make_unique<ScriptListModel>();
    m_model->setScriptFileName({});
    m_model->clear();
    m_model->addScript(QStringLiteral("before"), {});
}

void ScriptDownloadTest::replacesTheList()
{
    m_server->on("/one", ok(writeLibrary({{"a", "1"}, {"a", "2"}})));
    m_server->on("/moved", always(HttpServer::response("302 Found", {}, "Location: /two\r\n")));
    m_server->on("/two", ok(writeLibrary({{"b", {}}})));
    QSignalSpy reset(m_model.get(), &QAbstractItemModel::modelReset);
    m_model->loadFromUrl(m_server->url(QStringLiteral("/one")));
    QTRY_COMPARE(reset.size(), 1);
    QCOMPARE(m_model->rowCount(), 2);
    QCOMPARE(m_model->scriptTextAt(1), QStringLiteral("2"));

    // The second reply is delivered twice, and has its data only once.
    m_model->loadFromUrl(m_server->url(QStringLiteral("/moved")));
    QTRY_COMPARE(reset.size(), 2);
    QCoreApplication::processEvents();
    QCOMPARE(reset.size(), 2);
    QCOMPARE(nameAt(0), QStringLiteral("b"));
    QVERIFY(m_home.files().isEmpty());
}

void ScriptDownloadTest::leavesTheListAlone_data()
{
    QTest::addColumn<HttpServer::Answer>("answer");
    QTest::addColumn<QStringList>("warnings");
    const QString networkError = QStringLiteral("^Network error: .");
    const QString invalid = QStringLiteral("^Invalid JSON data received from URL\\.\n$");
    QTest::newRow("empty") << ok({}) << QStringList();
    QTest::newRow("not found") << HttpServer::Answer() << QStringList{networkError + ".*Not Found"};
    QTest::newRow("cut off")
        << always("HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n{\"scripts\":[]}")
        << QStringList{networkError};
    QTest::newRow("no HTTP") << always("\x01\x02\x03\r\n\r\n") << QStringList{networkError};
    QTest::newRow("not JSON") << ok("<html>")
                              << QStringList{invalid, "^illegal value\n$", "^5 pos 1\n$"};
    QTest::newRow("array") << ok("[]")
                           << QStringList{invalid, "^no error occurred\n$", "^0 pos 0\n$"};
    QTest::newRow("too large") << HttpServer::Answer(sendWithoutEnd) << QStringList{networkError};
    QTest::newRow("redirected for ever")
        << always(HttpServer::response("302 Found", {}, "Location: /library\r\n"))
        << QStringList{networkError};
    QTest::newRow("redirected to a file")
        << always(HttpServer::response("302 Found", {}, "Location: file:///etc/hosts\r\n"))
        << QStringList{networkError};
}

void ScriptDownloadTest::leavesTheListAlone()
{
    QFETCH(const HttpServer::Answer, answer);
    QFETCH(const QStringList, warnings);
    m_server->on("/library", answer);
    QSignalSpy reset(m_model.get(), &QAbstractItemModel::modelReset);
    s_log.clear();
    const QtMessageHandler handler = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &text) { s_log.append(text); });
    m_model->loadFromUrl(m_server->url(QStringLiteral("/library")));
    const auto done = [&] {
        return m_server->hasServed() && m_server->isIdle() && s_log.size() >= warnings.size();
    };
    const bool wasDone = QTest::qWaitFor(done, 60000);
    qInstallMessageHandler(handler);
    QVERIFY2(wasDone, qPrintable(s_log.join(u'\n')));
    QCOMPARE(s_log.size(), warnings.size());
    for (qsizetype i = 0; i < warnings.size(); ++i) {
        const QRegularExpression expected(warnings[i]);
        QVERIFY2(expected.match(s_log[i]).hasMatch(), qPrintable(s_log[i]));
    }
    QCOMPARE(nameAt(0), QStringLiteral("before"));

    // A good one behind it shows that nothing of the first is still under way.
    m_server->on("/good", ok(writeLibrary({{"good", {}}})));
    m_model->loadFromUrl(m_server->url(QStringLiteral("/good")));
    QTRY_COMPARE(nameAt(0), QStringLiteral("good"));
    QCOMPARE(reset.size(), 1);
}

void ScriptDownloadTest::takesWhatFinishesLast()
{
    QPointer<QTcpSocket> slow;
    m_server->on("/slow", [&slow](QTcpSocket *socket) {
        socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n{\"scripts\":");
        slow = socket;
    });
    m_server->on("/quick", ok(writeLibrary({{"quick", {}}})));
    m_model->loadFromUrl(m_server->url(QStringLiteral("/slow")));
    QTRY_VERIFY(slow);
    m_model->loadFromUrl(m_server->url(QStringLiteral("/quick")));
    QTRY_COMPARE(nameAt(0), QStringLiteral("quick"));

    slow->write(R"([{"name":"slow"}]})");
    slow->disconnectFromHost();
    QTRY_COMPARE(nameAt(0), QStringLiteral("slow"));
    QCOMPARE(m_model->rowCount(), 1);
}

QTEST_GUILESS_MAIN(ScriptDownloadTest)
#include "tst_scriptdownload.moc"
