#pragma once

#include <QHash>
#include <QTcpServer>

#include <functional>
#include <memory>

class QSslConfiguration;
class QTcpSocket;

/// A web server on loopback that answers each path as its test says. Lives on the test's thread.
class HttpServer : public QObject
{
    Q_OBJECT

public:
    /// Called with the socket of a request that has arrived as a whole. Owns nothing.
    using Answer = std::function<void(QTcpSocket *)>;

    HttpServer();
    /// Serves HTTPS, with the certificate and key of `tls`.
    explicit HttpServer(const QSslConfiguration &tls);

    /// The address of `path`, which begins with a slash.
    [[nodiscard]] QString url(const QString &path) const;

    void on(const QByteArray &path, const Answer &answer) { m_answers.insert(path, answer); }

    /// Whether a request has been answered, and whether no connection is open.
    [[nodiscard]] bool hasServed() const { return m_served; }
    [[nodiscard]] bool isIdle() const { return m_open == 0; }

    // Answers that are the same each time, and close the connection.

    [[nodiscard]] static Answer always(const QByteArray &response);
    /// `headers` are lines with CR-LF.
    [[nodiscard]] static Answer ok(const QByteArray &body, const QByteArray &headers = {});
    [[nodiscard]] static Answer redirection(const QByteArray &to);

private:
    HttpServer(std::unique_ptr<QTcpServer> server, QString scheme);
    void serve(QTcpSocket *socket);

    std::unique_ptr<QTcpServer> m_server;
    QString m_scheme;
    QHash<QByteArray, Answer> m_answers;
    bool m_served = false;
    int m_open = 0;
};
