#pragma once
// An HTTP server of canned answers on loopback, in the test's own thread, for what a real server will
// not do on demand: odd discovery paths, redirects, hanging. Every connection is closed after its
// answer.

#include <QByteArrayList>
#include <QHash>
#include <QObject>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>

#include <memory>

// Answers each "VERB path" with its entry (never, when the entry's status line is empty), and 404
// otherwise. `asked` lists the requests seen, in order.
class CannedHttpServer {
public:
    // A 207 body of one response per (href, properties) pair, with the DAV:, CalDAV and CalendarServer
    // prefixes d:, cal: and cs:.
    static QByteArray multistatus(const QList<std::pair<QByteArray, QByteArray>>& responses)
    {
        QByteArray body = "<?xml version=\"1.0\"?><d:multistatus xmlns:d=\"DAV:\" xmlns:cal=\"urn:ietf:params:xml:ns:caldav\" "
                          "xmlns:cs=\"http://calendarserver.org/ns/\">";
        for (const auto& [href, prop] : responses)
            body += "<d:response><d:href>" + href + "</d:href><d:propstat><d:prop>" + prop
                    + "</d:prop><d:status>HTTP/1.1 200 OK</d:status></d:propstat></d:response>";
        return body + "</d:multistatus>";
    }

    struct Answer {
        QByteArray statusLine; // "207 Multi-Status"
        QByteArray headers;    // whole lines, each ending in CRLF
        QByteArray body;
    };
    explicit CannedHttpServer(QHash<QByteArray, Answer> answers) : m_answers(std::move(answers))
    {
        m_server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&m_server, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection())
                serve(socket);
        });
    }
    QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_server.serverPort())); }
    QByteArrayList asked;

private:
    void serve(QTcpSocket* socket)
    {
        auto buffer = std::make_shared<QByteArray>();
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, buffer] {
            *buffer += socket->readAll();
            const qsizetype headEnd = buffer->indexOf("\r\n\r\n");
            if (headEnd < 0)
                return;
            const QByteArray head = buffer->left(headEnd);
            qsizetype length = 0;
            for (const QByteArray& line : head.split('\n'))
                if (line.toLower().startsWith("content-length:"))
                    length = line.mid(15).trimmed().toLongLong();
            if (buffer->size() < headEnd + 4 + length)
                return;
            const QList<QByteArray> words = head.left(head.indexOf("\r\n")).split(' ');
            const QByteArray key = words.value(0) + ' ' + words.value(1);
            asked << key;
            const Answer answer = m_answers.value(key, Answer{"404 Not Found", {}, {}});
            if (answer.statusLine.isEmpty())
                return; // a server that hangs
            socket->write("HTTP/1.1 " + answer.statusLine + "\r\n" + answer.headers + "Content-Length: "
                          + QByteArray::number(answer.body.size()) + "\r\nConnection: close\r\n\r\n" + answer.body);
            socket->disconnectFromHost();
            buffer->clear();
        });
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }

    QTcpServer m_server;
    QHash<QByteArray, Answer> m_answers;
};
