#include "support/HttpServer.h"

#include <QSslConfiguration>
#include <QSslServer>
#include <QTcpSocket>

namespace
{

std::unique_ptr<QTcpServer> tlsServer(const QSslConfiguration &tls)
{
    auto server = std::make_unique<QSslServer>();
    server->setSslConfiguration(tls);
    return server;
}

QByteArray response(const QByteArray &status, const QByteArray &body,
                    const QByteArray &headers = {})
{
    return "HTTP/1.1 " + status +
           "\r\nConnection: close\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" +
           headers + "\r\n" + body;
}

} // namespace

HttpServer::HttpServer()
    : HttpServer(std::make_unique<QTcpServer>(), QStringLiteral("http"))
{}

HttpServer::HttpServer(const QSslConfiguration &tls)
    : HttpServer(tlsServer(tls), QStringLiteral("https"))
{}

HttpServer::HttpServer(std::unique_ptr<QTcpServer> server, QString scheme)
    : m_server(std::move(server))
    , m_scheme(std::move(scheme))
{
    connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, this, [this] {
        QTcpSocket *socket = m_server->nextPendingConnection();
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            --m_open;
            socket->deleteLater();
        });
        ++m_open;
    });
    if (!m_server->listen(QHostAddress::LocalHost))
        qFatal("No port to serve on: %s", qUtf8Printable(m_server->errorString()));
}

QString HttpServer::url(const QString &path) const
{
    return QStringLiteral("%1://127.0.0.1:%2%3")
        .arg(m_scheme)
        .arg(m_server->serverPort())
        .arg(path);
}

HttpServer::Answer HttpServer::always(const QByteArray &response)
{
    return [response](QTcpSocket *socket) {
        socket->write(response);
        socket->disconnectFromHost();
    };
}

HttpServer::Answer HttpServer::ok(const QByteArray &body, const QByteArray &headers)
{
    return always(response("200 OK", body, headers));
}

HttpServer::Answer HttpServer::redirection(const QByteArray &to)
{
    return always(response("302 Found", {}, "Location: " + to + "\r\n"));
}

void HttpServer::serve(QTcpSocket *socket)
{
    // A request without a body ends with an empty line; until then it may still be growing.
    if (!socket->peek(socket->bytesAvailable()).endsWith("\r\n\r\n"))
        return;
    const QByteArray path = socket->readAll().split(' ').value(1);
    const Answer answer = m_answers.value(path, always(response("404 Not Found", "nothing here")));
    m_served = true;
    answer(socket);
}
