// The vMix stand-in's model, its answers to the TCP API's requests and its
// script, without starting the program.

#include "VmixModel.h"
#include "VmixStandinCommands.h"
#include "VmixStandinServer.h"
#include "vmix/VmixState.h"

#include <gtest/gtest.h>

namespace {

class VmixStandinTest : public testing::Test {
protected:
    QByteArray ask(const QByteArray& request)
    {
        bool subscribe = false;
        bool unsubscribe = false;
        bool quit = false;
        return server.answer(request, &subscribe, &unsubscribe, &quit);
    }

    QString run(const QString& line)
    {
        QString problem;
        const VmixStandinCommands::Outcome outcome = commands.execute(line, &problem);
        return outcome == VmixStandinCommands::Outcome::refused ? problem : QString();
    }

    VmixModel model { { QStringLiteral("Camera 1"), QStringLiteral("Camera 2"), QStringLiteral("Wide") } };
    VmixStandinServer server { model };
    VmixStandinCommands commands { model, server };
};

} // namespace

TEST_F(VmixStandinTest, ItStartsWithNothingOnProgramOrPreview)
{
    EXPECT_EQ(model.tallyDigits(), "000");
    EXPECT_EQ(ask("TALLY"), "TALLY OK 000\r\n");
}

TEST_F(VmixStandinTest, ProgramPreviewAndCutShowInTheTally)
{
    EXPECT_EQ(run(QStringLiteral("program 1")), QString());
    EXPECT_EQ(run(QStringLiteral("preview 3")), QString());
    EXPECT_EQ(model.tallyDigits(), "102");
    EXPECT_EQ(run(QStringLiteral("cut")), QString());
    EXPECT_EQ(model.tallyDigits(), "201");
    EXPECT_EQ(run(QStringLiteral("program 4")), QStringLiteral("program takes an input number from 1 to 3"));
    EXPECT_EQ(run(QStringLiteral("jump")), QStringLiteral("unknown command 'jump'"));
    EXPECT_EQ(run(QStringLiteral("record maybe")), QStringLiteral("record takes on or off"));
}

TEST_F(VmixStandinTest, TheXmlAnswerCarriesItsLengthAndReadsBackAsTheModel)
{
    run(QStringLiteral("rename 2 Close & <Up>"));
    run(QStringLiteral("record on"));
    const QByteArray answer = ask("XML");
    const qsizetype lineEnd = answer.indexOf("\r\n");
    ASSERT_GT(lineEnd, 0);
    const QByteArray data = answer.mid(lineEnd + 2);
    EXPECT_EQ(answer.left(lineEnd), "XML " + QByteArray::number(data.size()));
    EXPECT_TRUE(data.endsWith("</vmix>\r\n"));
    QString problem;
    const std::optional<VmixState::Document> document = VmixState::parseXml(data, &problem);
    ASSERT_TRUE(document.has_value()) << problem.toStdString();
    ASSERT_EQ(document->inputs.size(), 3);
    EXPECT_EQ(document->inputs[1].title, QStringLiteral("Close & <Up>"));
    EXPECT_EQ(document->inputs[1].key, model.inputs()[1].key);
    EXPECT_EQ(document->recording, std::optional<bool>(true));
    EXPECT_EQ(document->streaming, std::optional<bool>(false));
}

TEST_F(VmixStandinTest, FunctionsSwitchInputsByNumberKeyOrTitle)
{
    EXPECT_EQ(ask("FUNCTION PreviewInput Input=2"), "FUNCTION OK PreviewInput\r\n");
    EXPECT_EQ(ask("FUNCTION ActiveInput Input=Wide"), "FUNCTION OK ActiveInput\r\n");
    EXPECT_EQ(model.tallyDigits(), "021");
    EXPECT_EQ(ask("FUNCTION Cut"), "FUNCTION OK Cut\r\n");
    EXPECT_EQ(model.tallyDigits(), "012");
    EXPECT_EQ(ask("FUNCTION PreviewInput Input=" + model.inputs()[0].key.toUtf8()), "FUNCTION OK PreviewInput\r\n");
    EXPECT_EQ(model.tallyDigits(), "210");
    EXPECT_EQ(ask("FUNCTION PreviewInput Input=9"), "FUNCTION ER Input not found\r\n");
    EXPECT_EQ(ask("FUNCTION Fade"), "FUNCTION ER Function not found\r\n");
}

TEST_F(VmixStandinTest, SubscriptionsAreAnsweredAndUnknownCommandsGetAnError)
{
    bool subscribe = false;
    bool unsubscribe = false;
    bool quit = false;
    EXPECT_EQ(server.answer("SUBSCRIBE TALLY", &subscribe, &unsubscribe, &quit), "SUBSCRIBE OK TALLY\r\n");
    EXPECT_TRUE(subscribe);
    EXPECT_EQ(server.answer("UNSUBSCRIBE TALLY", &subscribe, &unsubscribe, &quit), "UNSUBSCRIBE OK TALLY\r\n");
    EXPECT_TRUE(unsubscribe);
    EXPECT_EQ(ask("SUBSCRIBE ACTS"), "SUBSCRIBE ER Only TALLY can be subscribed to here\r\n");
    EXPECT_EQ(ask("XMLTEXT vmix/inputs"), "XMLTEXT ER Unknown command\r\n");
    EXPECT_FALSE(quit);
    EXPECT_EQ(server.answer("QUIT", &subscribe, &unsubscribe, &quit), "QUIT OK Bye\r\n");
    EXPECT_TRUE(quit);
}

TEST_F(VmixStandinTest, KeysStayAcrossRenamesAndRestarts)
{
    const QString key = model.inputs()[0].key;
    run(QStringLiteral("rename 1 Host"));
    EXPECT_EQ(model.inputs()[0].key, key);
    VmixModel again({ QStringLiteral("Camera 1") });
    EXPECT_EQ(again.inputs()[0].key, key);
    EXPECT_NE(model.inputs()[1].key, key);
}
