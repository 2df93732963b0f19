#pragma once

#include <QDialog>
#include <QPointer>

class QLineEdit;
class QSpinBox;

// Asks where a Blackmagic ATEM switcher is: its host, and the UDP port it
// takes control clients on (9910 unless it was changed).
class AtemSourceDialog : public QDialog {
    Q_OBJECT

public:
    // Filled from a previous choice: an "atem://HOST:PORT" address (anything
    // else leaves the defaults: no host yet, port 9910).
    explicit AtemSourceDialog(const QString& address, QWidget* parent = nullptr);

    // "atem://HOST:PORT" as entered.
    QString address() const;

    QPointer<QLineEdit> hostField;
    QPointer<QSpinBox> portField;
};
