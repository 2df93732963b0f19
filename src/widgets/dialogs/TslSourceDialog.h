#pragma once

#include <QDialog>
#include <QPointer>
#include <QStringList>

#include <optional>

class QComboBox;
class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QSpinBox;

// Asks how to listen for a switcher's TSL UMD messages: the version, UDP or
// TCP, the port (and, if wanted, the one address of this computer to listen
// on), the switcher's addresses, so that messages from anywhere else are
// refused, and how long a sender may be silent before it counts as gone.
// OK waits for addresses that can be used.
//
// Until the user sets the silence, it shows the default, which follows the
// allowed senders as they are typed: never with some, five seconds without.
class TslSourceDialog : public QDialog {
    Q_OBJECT

public:
    static constexpr int defaultPort = 8900;

    // Filled from a previous choice: a TSL source address ("tsl5://8900",
    // "tsl+tcp://10.0.0.2:9000"; anything else leaves the defaults, 5.0 over
    // UDP on every interface, port 8900), the allowed senders and the
    // silence in seconds (0: no limit; nothing: the default).
    TslSourceDialog(const QString& address, const QStringList& allowedSenders,
        std::optional<int> silenceSeconds = std::nullopt, QWidget* parent = nullptr);

    // The source address as entered, such as "tsl5+tcp://9000".
    QString address() const;
    // The allowed senders as entered, one address or network an entry;
    // empty for every sender.
    QStringList allowedSenders() const;
    // The silence the user set, in seconds (0: no limit); nothing while the
    // field shows the default.
    std::optional<int> silenceSeconds() const;

    QPointer<QComboBox> versionField;
    QPointer<QComboBox> transportField;
    QPointer<QLineEdit> listenAddressField;
    QPointer<QSpinBox> portField;
    QPointer<QLineEdit> allowedSendersField;
    // Seconds; 0 reads "never".
    QPointer<QSpinBox> silenceField;
    // Why OK is disabled, or nothing.
    QPointer<QLabel> problemLabel;

private:
    void check();
    void showDefaultSilence();

    QPointer<QDialogButtonBox> m_buttons;
    bool m_silenceChosen = false;
    bool m_showingDefault = false;
};
