#pragma once

#include "launch/NetworkOutputChoices.h"
#include "outputs/PhoneLinks.h"

#include <QDialog>
#include <QPointer>

#include <functional>
#include <optional>

class QCheckBox;
class QComboBox;
class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QSpinBox;
class PhoneLinksView;

// Outputs > Network Outputs: the web tally page on or off and where it
// listens, the vMix tally feed on or off and where it listens, the TSL UMD 3.1 and 5.0 destinations and the display
// index offset, the MQTT brokers with Home Assistant discovery, the password file and the CA file (the password itself
// is never typed here: it would be stored in the settings in the clear), the Art-Net and sACN destinations with the
// first channel and the layout. It only shows and collects: OK hands the choices to whoever opened it, which starts
// them at once. Choices that are refused leave the dialog open with the reason, and nothing typed is lost.
class NetworkOutputsDialog : public QDialog {
    Q_OBJECT

public:
    // Starts the choices; false, with the problem, when they were refused.
    using Apply = std::function<bool(const NetworkOutputChoices&, QString* problem)>;

    NetworkOutputsDialog(const NetworkOutputChoices& current, Apply apply, QWidget* parent = nullptr);

    // The choices as the fields show them.
    NetworkOutputChoices choices() const;
    // Hands the choices over; closes when they were taken.
    void tryChoices();
    // The addresses phones can open the running page at, with their QR
    // codes, under the page's fields; none hides them.
    void showPhoneLinks(const QList<PhoneLink>& links);

    QPointer<QCheckBox> webCheckBox;
    QPointer<QLineEdit> webAddressField;
    // Shown only while the page runs.
    QPointer<PhoneLinksView> phoneLinksView;
    QPointer<QCheckBox> vmixFeedCheckBox;
    QPointer<QLineEdit> vmixFeedAddressField;
    QPointer<QLineEdit> vmixFeedAllowedField;
    QPointer<QPlainTextEdit> tsl31Field;
    QPointer<QPlainTextEdit> tsl50Field;
    QPointer<QSpinBox> offsetField;
    QPointer<QPlainTextEdit> mqttField;
    QPointer<QCheckBox> mqttDiscoveryCheckBox;
    QPointer<QLineEdit> mqttPasswordFileField;
    QPointer<QLineEdit> mqttCaFileField;
    QPointer<QPlainTextEdit> dmxField;
    QPointer<QSpinBox> dmxStartField;
    QPointer<QComboBox> dmxLayoutField;
    // Why the last choices were refused; hidden while there is no reason.
    QPointer<QLabel> problemLabel;
    QPointer<QDialogButtonBox> buttons;

private:
    void addWebRows(const NetworkOutputChoices& current);
    void addVmixFeedRows(const NetworkOutputChoices& current);
    void addTslRows(const NetworkOutputChoices& current);
    void addMqttRows(const NetworkOutputChoices& current);
    void addDmxRows(const NetworkOutputChoices& current);
    void showProblem(const QString& problem);

    Apply m_apply;
};
