#pragma once

#include "VmixModel.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QTcpServer>

class QTcpSocket;

// vMix's side of the TCP API, for the stand-in: every client's requests
// are answered from the model, one line each ("COMMAND OK …", "COMMAND ER
// message", or "XML LENGTH" and the document), and every client subscribed
// to tally gets "TALLY OK …" when the tally changes. Requests it does not
// know get an error line, as vMix gives.
class VmixStandinServer : public QObject {
    Q_OBJECT

public:
    explicit VmixStandinServer(VmixModel& model, QObject* parent = nullptr);
    ~VmixStandinServer() override;

    bool listen(quint16 port, QString* problem);
    quint16 port() const { return m_server.serverPort(); }

    // The model changed: subscribed clients get the tally if it is new.
    void announce();
    // Closes every client's connection; new ones are taken.
    void dropClients();
    int clientCount() const { return int(m_clients.size()); }

    // A client's request line without its line end, and what it gets back.
    QByteArray answer(const QByteArray& request, bool* subscribe, bool* unsubscribe, bool* quit);

private:
    struct Client {
        QTcpSocket* socket = nullptr;
        QByteArray pending;
        bool subscribed = false;
    };

    void accept();
    void read(QTcpSocket* socket);
    void forget(QTcpSocket* socket);
    QByteArray function(const QByteArray& rest);

    VmixModel& m_model;
    QTcpServer m_server;
    QList<Client> m_clients;
    QByteArray m_lastTally;
};
