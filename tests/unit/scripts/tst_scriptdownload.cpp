#include "LibraryHome.h"
#include "scripts/ScriptListModel.h"
#include "support/HttpServer.h"
#include "support/Rows.h"

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

using scripts::writeLibrary;
using namespace testsupport;

namespace
{

const QString NetworkError = "^Network error: .";

HttpServer::Answer library(const scripts::Script &script)
{
    return HttpServer::ok(writeLibrary({script}));
}

/// What a server needs to speak TLS. Its certificate vouches for itself.
std::optional<QSslConfiguration> certifiedByItself()
{
    const QTemporaryDir folder;
    const QString keyPath = folder.filePath("key.pem");
    const QString certificatePath = folder.filePath("certificate.pem");
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
    void init()
    {
        m_server = std::make_unique<HttpServer>();
        m_model = std::make_unique<ScriptListModel>();
        m_model->setScriptFileName({});
        m_model->clear();
        m_model->addScript("before", {});
    }

    void replacesTheList()
    {
        m_server->on("/one", HttpServer::ok(writeLibrary({{"a", "1"}, {"a", "2"}})));
        m_server->on("/moved", HttpServer::redirection("/two"));
        m_server->on("/two", library({"b", {}}));
        QSignalSpy reset(m_model.get(), &QAbstractItemModel::modelReset);
        m_model->loadFromUrl(m_server->url("/one"));
        QTRY_COMPARE(reset.size(), 1);
        QCOMPARE(m_model->rowCount(), 2);
        QCOMPARE(m_model->scriptTextAt(1), "2");

        // The second reply is delivered twice, and has its data only once.
        m_model->loadFromUrl(m_server->url("/moved"));
        QTRY_COMPARE(reset.size(), 2);
        QCoreApplication::processEvents();
        QCOMPARE(reset.size(), 2);
        QCOMPARE(nameAt(0), "b");
        QVERIFY(m_home.files().isEmpty());
    }

    void leavesTheListAlone_data()
    {
        const QString invalid = "^Invalid JSON data received from URL\\.\n$";
        const QByteArray packed = // without the length that Qt puts in front
            qCompress(QByteArray(40 << 20, ' ') + "{}").sliced(4);
        const Rows<HttpServer::Answer, QStringList> add;
        add("empty", HttpServer::ok({}), {});
        add("not found", {}, {NetworkError + ".*Not Found"});
        add("cut off",
            HttpServer::always("HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n{\"scripts\":[]}"),
            {NetworkError});
        add("no HTTP", HttpServer::always("\x01\x02\x03\r\n\r\n"), {NetworkError});
        add("not JSON", HttpServer::ok("<html>"), {invalid, "^illegal value\n$", "^5 pos 1\n$"});
        add("array", HttpServer::ok("[]"), {invalid, "^no error occurred\n$", "^0 pos 0\n$"});
        add("too large", sendWithoutEnd, {NetworkError});
        add("too large once unpacked", HttpServer::ok(packed, "Content-Encoding: deflate\r\n"),
            {NetworkError});
        add("redirected for ever", HttpServer::redirection("/library"), {NetworkError});
        add("redirected to a file", HttpServer::redirection("file:///etc/hosts"), {NetworkError});
    }

    void leavesTheListAlone()
    {
        const auto [answer, warnings] = row<HttpServer::Answer, QStringList>();
        if (answer)
            m_server->on("/library", answer);
        QSignalSpy reset(m_model.get(), &QAbstractItemModel::modelReset);
        const QStringList log = logOf(m_server->url("/library"), [&, lines = warnings.size()] {
            return m_server->hasServed() && m_server->isIdle() && s_log.size() >= lines;
        });
        QCOMPARE(log.size(), warnings.size());
        for (qsizetype i = 0; i < warnings.size(); ++i)
            QVERIFY2(log[i].contains(QRegularExpression(warnings[i])), qPrintable(log[i]));
        QCOMPARE(nameAt(0), "before");

        // A good one behind it shows that nothing of the first is still under way.
        m_server->on("/good", library({"good", {}}));
        m_model->loadFromUrl(m_server->url("/good"));
        QTRY_COMPARE(nameAt(0), "good");
        QCOMPARE(reset.size(), 1);
    }

    void takesWhatFinishesLast()
    {
        QPointer<QTcpSocket> slow;
        m_server->on("/slow", [&slow](QTcpSocket *socket) {
            socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n{\"scripts\":");
            slow = socket;
        });
        m_server->on("/quick", library({"quick", {}}));
        m_model->loadFromUrl(m_server->url("/slow"));
        QTRY_VERIFY(slow);
        m_model->loadFromUrl(m_server->url("/quick"));
        QTRY_COMPARE(nameAt(0), "quick");

        slow->write(R"([{"name":"slow"}]})");
        slow->disconnectFromHost();
        QTRY_COMPARE(nameAt(0), "slow");
        QCOMPARE(m_model->rowCount(), 1);
    }

    void staysOnHttps()
    {
        const std::optional<QSslConfiguration> tls = certifiedByItself();
        QVERIFY(tls);
        HttpServer safe(*tls);
        safe.on("/library", library({"safe", {}}));
        safe.on("/moved", HttpServer::redirection("/library"));
        safe.on("/weaker", HttpServer::redirection(m_server->url("/library").toLatin1()));
        m_server->on("/library", library({"unsafe", {}}));
        const QRegularExpression networkError(NetworkError);
        const auto hasLogged = [] { return !s_log.isEmpty(); };
        {
            const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
            const auto restore =
                qScopeGuard([&] { QSslConfiguration::setDefaultConfiguration(before); });
            QSslConfiguration trusting = before;
            trusting.setCaCertificates({tls->localCertificate()});
            QSslConfiguration::setDefaultConfiguration(trusting);
            const QString insecure = logOf(safe.url("/weaker"), hasLogged).value(0);
            QVERIFY2(insecure.contains(networkError), qPrintable(insecure));
            QVERIFY(!m_server->hasServed());
            m_model->loadFromUrl(safe.url("/moved"));
            QTRY_COMPARE(nameAt(0), "safe");
        }
        HttpServer unknown(*tls);
        unknown.on("/library", library({"unknown", {}}));
        const QString untrusted = logOf(unknown.url("/library"), hasLogged).value(0);
        QVERIFY2(untrusted.contains(networkError), qPrintable(untrusted));
        QCOMPARE(nameAt(0), "safe");
    }

private:
    [[nodiscard]] QString nameAt(int index) { return m_model->scriptNameAt(index); }

    /// Downloads, and returns what was logged when `done` became true or at the end of patience.
    [[nodiscard]] QStringList logOf(const QString &url, const std::function<bool()> &done)
    {
        s_log.clear();
        const QtMessageHandler handler = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &text) { s_log.append(text); });
        m_model->loadFromUrl(url);
        const bool wasDone = QTest::qWaitFor(done, 60000);
        qInstallMessageHandler(handler);
        return wasDone ? s_log : QStringList("not done: ") + s_log;
    }

    LibraryHome m_home;
    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<ScriptListModel> m_model;
    static inline QStringList s_log;
};

QTEST_GUILESS_MAIN(ScriptDownloadTest)
#include "tst_scriptdownload.moc"
