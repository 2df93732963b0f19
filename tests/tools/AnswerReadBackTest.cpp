// The stand-in's answer must read back, through the same parser and decoder
// the tally controller uses, as the very shots the stand-in holds.

#include "AnswerWriter.h"
#include "link/AppleScriptNotationParser.h"
#include "link/ShotDecoder.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

TEST(AnswerReadBackTest, ControllerDecodesTheStandInAnswerAsItsShots)
{
    const QList<ShowModel::Shot> shots {
        { 1, QStringLiteral("Camera 1"), true, false },
        { 2, QString::fromUtf8("Cam\xC3\xA9ra \"2\" \\ B"), false, true },
        { 12, QStringLiteral("Lower Third Clear Layer"), true, true },
    };
    QString problem;
    const std::optional<AppleEventDescriptor> parsed
        = AppleScriptNotationParser::parse(AnswerWriter::notation(shots), &problem);
    ASSERT_TRUE(parsed.has_value()) << problem.toStdString();

    const ShotList decoded = decodeShots(*parsed);
    ASSERT_EQ(decoded.size(), shots.size());
    for (qsizetype i = 0; i < shots.size(); ++i) {
        EXPECT_EQ(decoded.at(i)->shotId, QString::number(shots.at(i).id));
        EXPECT_EQ(decoded.at(i)->name, shots.at(i).name);
        EXPECT_EQ(decoded.at(i)->isLive, shots.at(i).isLive);
        EXPECT_EQ(decoded.at(i)->isPreview, shots.at(i).isPreview);
    }
}
