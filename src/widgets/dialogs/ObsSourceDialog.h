#pragma once

#include <QDialog>
#include <QPointer>

class QLineEdit;
class QSpinBox;

// Asks where OBS Studio's websocket server is (host, port) and its password.
class ObsSourceDialog : public QDialog {
    Q_OBJECT

public:
    // Filled from a previous choice: an "obs://HOST:PORT" address (anything
    // else leaves the defaults, this computer and port 4455) and a password.
    ObsSourceDialog(const QString& address, const QString& password, QWidget* parent = nullptr);

    // "obs://HOST:PORT" as entered.
    QString address() const;
    QString password() const;

    QPointer<QLineEdit> hostField;
    QPointer<QSpinBox> portField;
    QPointer<QLineEdit> passwordField;
};
