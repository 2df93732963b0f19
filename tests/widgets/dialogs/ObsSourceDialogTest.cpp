// The OBS Studio source dialog's Test button, against a websocket server in
// the test's own process: one try with what the fields hold, its outcome in
// words under them, and the dialog free to use meanwhile.

#include "dialogs/ObsSourceDialog.h"

#include "net/switchers/FakeObsServer.h"
#include "support/Eventually.h"
#include "support/FreePort.h"
#include "support/QtPrinters.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

#include <gtest/gtest.h>

namespace {

class ObsDialogTestButtonTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(server.listening());
        server.password = QStringLiteral("studio 7");
        server.scenes = { QStringLiteral("Wide") };
        server.inputs = { QStringLiteral("Camera 1") };
        server.items[QStringLiteral("Wide")] = { FakeObsServer::Item { 1, QStringLiteral("Camera 1") } };
        server.program = QStringLiteral("Wide");
    }

    // Clicks Test and waits for its outcome; the words shown.
    QString test(ObsSourceDialog& dialog)
    {
        dialog.testButton->click();
        // The click returns before OBS has said anything.
        EXPECT_TRUE(dialog.isTesting());
        EXPECT_TRUE(dialog.testResult->text().startsWith(QStringLiteral("Connecting to ")))
            << dialog.testResult->text().toStdString();
        EXPECT_TRUE(eventually([&] { return !dialog.isTesting(); }, 10000));
        return dialog.testResult->text();
    }

    FakeObsServer server;
};

} // namespace

TEST_F(ObsDialogTestButtonTest, TestSaysConnectedPasswordRefusedOrNoAnswer)
{
    const QString where = QStringLiteral("127.0.0.1:%1").arg(server.port());
    ObsSourceDialog dialog(QStringLiteral("obs://") + where, QStringLiteral("studio 7"));
    EXPECT_EQ(test(dialog), QStringLiteral("✓ Connected to OBS Studio at ") + where);

    dialog.passwordField->setText(QStringLiteral("studio 8"));
    EXPECT_TRUE(dialog.testResult->text().isEmpty()) << "the old outcome says nothing of the new password";
    EXPECT_EQ(test(dialog), QStringLiteral("⚠ OBS Studio at %1 refused the password").arg(where));

    dialog.passwordField->clear();
    EXPECT_EQ(test(dialog), QStringLiteral("⚠ OBS Studio at %1 asks for a password").arg(where));

    const quint16 closed = freePort();
    dialog.portField->setValue(closed);
    const QString noAnswer = test(dialog);
    EXPECT_TRUE(noAnswer.startsWith(QStringLiteral("⚠ No answer from OBS Studio at 127.0.0.1:%1").arg(closed)))
        << noAnswer.toStdString();
    // Testing follows nothing and keeps nothing open.
    EXPECT_EQ(server.connections, 3);
    EXPECT_TRUE(eventually([&] { return server.clientCount() == 0; }, 5000));
}

TEST_F(ObsDialogTestButtonTest, ASecondTestReplacesOneUnderWay)
{
    server.silent = true;
    ObsSourceDialog dialog(QStringLiteral("obs://127.0.0.1:%1").arg(server.port()), QString());
    dialog.testButton->click();
    ASSERT_TRUE(eventually([&] { return server.connections == 1; }, 5000));
    server.silent = false;
    server.password.clear();
    EXPECT_EQ(test(dialog), QStringLiteral("✓ Connected to OBS Studio at 127.0.0.1:%1").arg(server.port()));
}

TEST_F(ObsDialogTestButtonTest, WithoutAHostThereIsNothingToTest)
{
    ObsSourceDialog dialog(QStringLiteral("obs://127.0.0.1:4465"), QString());
    EXPECT_EQ(dialog.portField->value(), 4465);
    EXPECT_TRUE(dialog.testButton->isEnabled());
    dialog.hostField->setText(QStringLiteral("  "));
    EXPECT_FALSE(dialog.testButton->isEnabled());
    dialog.hostField->setText(QStringLiteral("10.0.0.5"));
    EXPECT_TRUE(dialog.testButton->isEnabled());
}
