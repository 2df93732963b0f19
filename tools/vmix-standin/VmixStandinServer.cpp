#include "VmixStandinServer.h"

#include <QTcpSocket>
#include <QUrlQuery>

namespace {

// A request line longer than this is not one: the client is let go.
constexpr qsizetype maxRequestBytes = 64 * 1024;

QByteArray line(const QByteArray& text)
{
    return text + QByteArrayLiteral("\r\n");
}

} // namespace

VmixStandinServer::VmixStandinServer(VmixModel& model, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_lastTally(model.tallyDigits())
{
    connect(&m_server, &QTcpServer::newConnection, this, &VmixStandinServer::accept);
}

VmixStandinServer::~VmixStandinServer()
{
    for (const Client& client : std::as_const(m_clients)) {
        client.socket->disconnect(this);
        client.socket->abort();
        delete client.socket;
    }
}

bool VmixStandinServer::listen(quint16 port, QString* problem)
{
    if (!m_server.listen(QHostAddress::Any, port)) {
        if (problem) {
            *problem = m_server.errorString();
        }
        return false;
    }
    return true;
}

void VmixStandinServer::accept()
{
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        socket->setParent(nullptr);
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        m_clients.append(Client { socket, {}, false });
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] { forget(socket); });
    }
}

void VmixStandinServer::forget(QTcpSocket* socket)
{
    for (qsizetype i = 0; i < m_clients.size(); ++i) {
        if (m_clients[i].socket == socket) {
            m_clients.removeAt(i);
            socket->disconnect(this);
            socket->deleteLater();
            return;
        }
    }
}

void VmixStandinServer::read(QTcpSocket* socket)
{
    Client* client = nullptr;
    for (Client& each : m_clients) {
        if (each.socket == socket) {
            client = &each;
        }
    }
    if (client == nullptr) {
        return;
    }
    client->pending += socket->readAll();
    qsizetype end = 0;
    while ((end = client->pending.indexOf('\n')) >= 0) {
        QByteArray request = client->pending.left(end);
        client->pending.remove(0, end + 1);
        if (request.endsWith('\r')) {
            request.chop(1);
        }
        if (request.isEmpty()) {
            continue;
        }
        bool subscribe = false;
        bool unsubscribe = false;
        bool quit = false;
        socket->write(answer(request, &subscribe, &unsubscribe, &quit));
        if (subscribe) {
            client->subscribed = true;
        }
        if (unsubscribe) {
            client->subscribed = false;
        }
        if (quit) {
            socket->disconnectFromHost();
            return;
        }
    }
    if (client->pending.size() > maxRequestBytes) {
        socket->abort();
    }
}

QByteArray VmixStandinServer::answer(const QByteArray& request, bool* subscribe, bool* unsubscribe, bool* quit)
{
    const qsizetype space = request.indexOf(' ');
    const QByteArray command = space < 0 ? request : request.left(space);
    const QByteArray rest = space < 0 ? QByteArray() : request.mid(space + 1).trimmed();
    const QByteArray upper = command.toUpper();
    if (upper == "TALLY") {
        return line("TALLY OK " + m_model.tallyDigits());
    }
    if (upper == "XML") {
        // The length counts the line end that follows the document.
        const QByteArray document = m_model.xml() + QByteArrayLiteral("\r\n");
        return line("XML " + QByteArray::number(document.size())) + document;
    }
    if (upper == "SUBSCRIBE" || upper == "UNSUBSCRIBE") {
        if (rest.toUpper() != "TALLY") {
            return line(command + " ER Only TALLY can be subscribed to here");
        }
        *(upper == "SUBSCRIBE" ? subscribe : unsubscribe) = true;
        return line(command + " OK TALLY");
    }
    if (upper == "FUNCTION") {
        return function(rest);
    }
    if (upper == "QUIT") {
        *quit = true;
        return line("QUIT OK Bye");
    }
    return line(command + " ER Unknown command");
}

QByteArray VmixStandinServer::function(const QByteArray& rest)
{
    const qsizetype space = rest.indexOf(' ');
    const QByteArray name = space < 0 ? rest : rest.left(space);
    const QUrlQuery query(QString::fromUtf8(space < 0 ? QByteArray() : rest.mid(space + 1)));
    const QString reference = query.queryItemValue(QStringLiteral("Input"), QUrl::FullyDecoded);
    if (name.isEmpty()) {
        return line("FUNCTION ER No function given");
    }
    if (name.compare("Cut", Qt::CaseInsensitive) == 0) {
        // Cut takes an input too: it goes on program at once.
        if (!reference.isEmpty()) {
            const int input = m_model.findInput(reference);
            if (input == 0) {
                return line("FUNCTION ER Input not found");
            }
            m_model.setProgram(input);
        } else {
            m_model.cut();
        }
    } else if (name.compare("PreviewInput", Qt::CaseInsensitive) == 0
        || name.compare("ActiveInput", Qt::CaseInsensitive) == 0) {
        const int input = m_model.findInput(reference);
        if (input == 0) {
            return line("FUNCTION ER Input not found");
        }
        if (name.compare("PreviewInput", Qt::CaseInsensitive) == 0) {
            m_model.setPreview(input);
        } else {
            m_model.setProgram(input);
        }
    } else {
        return line("FUNCTION ER Function not found");
    }
    announce();
    return line("FUNCTION OK " + name);
}

void VmixStandinServer::announce()
{
    const QByteArray tally = m_model.tallyDigits();
    if (tally == m_lastTally) {
        return;
    }
    m_lastTally = tally;
    const QByteArray event = line("TALLY OK " + tally);
    for (const Client& client : std::as_const(m_clients)) {
        if (client.subscribed) {
            client.socket->write(event);
        }
    }
}

void VmixStandinServer::dropClients()
{
    const QList<Client> clients = m_clients;
    m_clients.clear();
    for (const Client& client : clients) {
        client.socket->disconnect(this);
        client.socket->abort();
        client.socket->deleteLater();
    }
}
