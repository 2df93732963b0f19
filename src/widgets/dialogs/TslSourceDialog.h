#pragma once

#include <QDialog>
#include <QPointer>
#include <QStringList>

class QComboBox;
class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QSpinBox;

// Asks how to listen for a switcher's TSL UMD messages: the version, UDP or
// TCP, the port (and, if wanted, the one address of this computer to listen
// on), and the switcher's addresses, so that messages from anywhere else are
// refused. OK waits for addresses that can be used.
class TslSourceDialog : public QDialog {
    Q_OBJECT

public:
    static constexpr int defaultPort = 8900;

    // Filled from a previous choice: a TSL source address ("tsl5://8900",
    // "tsl+tcp://10.0.0.2:9000"; anything else leaves the defaults, 5.0 over
    // UDP on every interface, port 8900) and the allowed senders.
    TslSourceDialog(const QString& address, const QStringList& allowedSenders, QWidget* parent = nullptr);

    // The source address as entered, such as "tsl5+tcp://9000".
    QString address() const;
    // The allowed senders as entered, one address or network an entry;
    // empty for every sender.
    QStringList allowedSenders() const;

    QPointer<QComboBox> versionField;
    QPointer<QComboBox> transportField;
    QPointer<QLineEdit> listenAddressField;
    QPointer<QSpinBox> portField;
    QPointer<QLineEdit> allowedSendersField;
    // Why OK is disabled, or nothing.
    QPointer<QLabel> problemLabel;

private:
    void check();

    QPointer<QDialogButtonBox> m_buttons;
};
