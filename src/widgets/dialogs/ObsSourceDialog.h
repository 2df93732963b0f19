#pragma once

#include "switchers/ObsConnectionCheck.h"

#include <QDialog>
#include <QPointer>

class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

// Asks where OBS Studio's websocket server is (host, port) and its password.
// Test tries them once, without following anything, and says under the
// fields whether OBS accepted them, refused the password or did not answer;
// the dialog stays usable meanwhile.
class ObsSourceDialog : public QDialog {
    Q_OBJECT

public:
    // Filled from a previous choice: an "obs://HOST:PORT" address (anything
    // else leaves the defaults, this computer and port 4455) and a password.
    ObsSourceDialog(const QString& address, const QString& password, QWidget* parent = nullptr);

    // "obs://HOST:PORT" as entered.
    QString address() const;
    QString password() const;

    // Whether a test is under way.
    bool isTesting() const { return !m_check.isNull(); }

    QPointer<QLineEdit> hostField;
    QPointer<QSpinBox> portField;
    QPointer<QLineEdit> passwordField;
    QPointer<QPushButton> testButton;
    // What the last test found, in words; empty before the first and after
    // the fields change.
    QPointer<QLabel> testResult;

private:
    void startTest();
    void showTestWords(const QString& words);
    void showTestOutcome(ObsConnectionCheck::Outcome outcome, const QString& words);
    // The fields changed: a test of the old ones says nothing of them.
    void forgetTest();

    QPointer<ObsConnectionCheck> m_check;
};
