#include "LibraryHome.h"
#include "scripts/ScriptListModel.h"
#include "support/HttpServer.h"

#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QTcpSocket>
#include <QTemporaryDir>
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

QByteArray packed(const QByteArray &body)
{
    return qCompress(body).sliced(4); // without the length that Qt puts in front
}

/// What a server needs to speak TLS. Its certificate vouches for itself.
std::optional<QSslConfiguration> certifiedByItself()
{
    const QTemporaryDir folder;
    const QString keyPath = folder.filePath(QStringLiteral("key.pem"));
    const QString certificatePath = folder.filePath(QStringLiteral("certificate.pem"));
    QProcess openssl;
    openssl.setStandardErrorFile(QProcess::nullDevice());
    openssl.start("openssl", {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
                              "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1",
                              "-keyout", keyPath, "-out", certificatePath});
    openssl.waitForFinished();
    QFile keyFile(keyPath);
    const QList<QSslCertificate> certificates = QSslCertificate::fromPath(certificatePath);
    if (!keyFile.open(QIODevice::ReadOnly) || certificates.isEmpty())
        return std::nullopt;
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setLocalCertificate(certificates.first());
    tls.setPrivateKey(QSslKey(&keyFile, QSsl::Rsa));
    return tls;
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
    void staysOnHttps();

private:
    [[nodiscard]] QString nameAt(int row) { return m_model->scriptNameAt(row); }
    /// Downloads, and returns what was logged when `done` became true or at the end of patience.
    [[nodiscard]] QStringList logOf(const QString &url, const std::function<bool()> &done);

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

QStringList ScriptDownloadTest::logOf(const QString &url, const std::function<bool()> &done)
{
    s_log.clear();
    const QtMessageHandler handler = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &text) { s_log.append(text); });
    m_model->loadFromUrl(url);
    const bool wasDone = QTest::qWaitFor(done, 60000);
    qInstallMessageHandler(handler);
    return wasDone ? s_log : QStringList(QStringLiteral("not done: ")) + s_log;
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
    QTest::newRow("too large once unpacked")
        << always(HttpServer::response("200 OK", packed(QByteArray(40 << 20, ' ') + "{}"),
                                       "Content-Encoding: deflate\r\n"))
        << QStringList{networkError};
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
    const QStringList log = logOf(m_server->url(QStringLiteral("/library")), [&] {
        return m_server->hasServed() && m_server->isIdle() && s_log.size() >= warnings.size();
    });
    QCOMPARE(log.size(), warnings.size());
    for (qsizetype i = 0; i < warnings.size(); ++i) {
        const QRegularExpression expected(warnings[i]);
        QVERIFY2(expected.match(log[i]).hasMatch(), qPrintable(log[i]));
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

void ScriptDownloadTest::staysOnHttps()
{
    const std::optional<QSslConfiguration> tls = certifiedByItself();
    QVERIFY(tls);
    HttpServer safe(*tls);
    safe.on("/library", ok(writeLibrary({{"safe", {}}})));
    safe.on("/moved", always(HttpServer::response("302 Found", {}, "Location: /library\r\n")));
    m_server->on("/library", ok(writeLibrary({{"unsafe", {}}})));
    const QByteArray weaker = m_server->url(QStringLiteral("/library")).toLatin1();
    safe.on("/weaker",
            always(HttpServer::response("302 Found", {}, "Location: " + weaker + "\r\n")));

    const auto errorOf = [this](const HttpServer &server, const QString &path) {
        return logOf(server.url(path), [] { return !s_log.isEmpty(); }).value(0);
    };
    const QString networkError = QStringLiteral("Network error: ");
    {
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        const auto restore =
            qScopeGuard([&] { QSslConfiguration::setDefaultConfiguration(before); });
        QSslConfiguration trusting = before;
        trusting.setCaCertificates({tls->localCertificate()});
        QSslConfiguration::setDefaultConfiguration(trusting);
        const QString insecure = errorOf(safe, QStringLiteral("/weaker"));
        QVERIFY2(insecure.startsWith(networkError), qPrintable(insecure));
        QVERIFY(!m_server->hasServed());
        m_model->loadFromUrl(safe.url(QStringLiteral("/moved")));
        QTRY_COMPARE(nameAt(0), QStringLiteral("safe"));
    }
    HttpServer unknown(*tls);
    unknown.on("/library", ok(writeLibrary({{"unknown", {}}})));
    const QString untrusted = errorOf(unknown, QStringLiteral("/library"));
    QVERIFY2(untrusted.startsWith(networkError), qPrintable(untrusted));
    QCOMPARE(nameAt(0), QStringLiteral("safe"));
}

QTEST_GUILESS_MAIN(ScriptDownloadTest)
#include "tst_scriptdownload.moc"
