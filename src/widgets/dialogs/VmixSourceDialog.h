#pragma once

#include <QDialog>
#include <QPointer>

class QLineEdit;
class QSpinBox;

// Asks where vMix is: its host, and the port of its TCP API (8099; the web
// interface's 8088 is not the one).
class VmixSourceDialog : public QDialog {
    Q_OBJECT

public:
    // Filled from a previous choice: a "vmix://HOST:PORT" address (anything
    // else leaves the defaults: no host yet, port 8099).
    explicit VmixSourceDialog(const QString& address, QWidget* parent = nullptr);

    // "vmix://HOST:PORT" as entered.
    QString address() const;

    QPointer<QLineEdit> hostField;
    QPointer<QSpinBox> portField;
};
