#include "tallymap/TallyMapFormat.h"

#include "support/QtPrinters.h"
#include "tallymap/TallyMap.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

namespace {

const QString type = QStringLiteral("tlx");

QStringList namesOf(const TallyMap& map, qint64 lightIndex)
{
    QStringList names;
    for (const ShotPtr& record : map.shotSelection(lightIndex)) {
        names.append(record->name);
    }
    return names;
}

QList<QStringList> allNames(const TallyMap& map)
{
    QList<QStringList> lights;
    for (qint64 lightIndex = 0; lightIndex < TallyMap::numberOfLights; ++lightIndex) {
        lights.append(namesOf(map, lightIndex));
    }
    return lights;
}

ShotList records(const QStringList& names)
{
    ShotList list;
    for (const QString& name : names) {
        list.append(std::make_shared<Shot>(name));
    }
    return list;
}

// A map whose every light already holds something, to see which lights a
// read replaces and which it leaves alone.
TallyMap filledMap()
{
    TallyMap map;
    for (qint64 lightIndex = 0; lightIndex < TallyMap::numberOfLights; ++lightIndex) {
        map.setShotSelection(lightIndex, records({ QStringLiteral("before %1").arg(lightIndex) }));
    }
    return map;
}

struct ReadOutcome {
    bool succeeded;
    Error error;
};

ReadOutcome read(TallyMap& map, const QByteArray& data)
{
    ReadOutcome outcome { false, Error { QStringLiteral("untouched"), -1, QStringLiteral("untouched") } };
    outcome.succeeded = map.readFromData(data, type, &outcome.error);
    return outcome;
}

} // namespace

TEST(TallyMapFormatTest, WritingANewMapGivesTheEightEmptyLinesIn32Bytes)
{
    const QByteArray data = TallyMap().dataOfType(type);
    EXPECT_EQ(data, QByteArray("0|\r\n1|\r\n2|\r\n3|\r\n4|\r\n5|\r\n6|\r\n7|\r\n"));
    EXPECT_EQ(data.size(), 32);
}

TEST(TallyMapFormatTest, WritingTheExampleMapGivesItsExactBytes)
{
    TallyMap map;
    map.setShotSelection(0, records({ QStringLiteral("Camera 1"), QStringLiteral("Camera 2") }));
    map.setShotSelection(2, records({ QStringLiteral("Wide Shot") }));
    const QByteArray data = map.dataOfType(type);

    EXPECT_EQ(data.left(21).toHex(' ').toUpper(),
        QByteArray("30 7C 43 61 6D 65 72 61 20 31 7C 43 61 6D 65 72 61 20 32 0D 0A"));
    EXPECT_EQ(data.mid(21, 4), QByteArray::fromHex("317C0D0A"));
    EXPECT_EQ(data, QByteArray("0|Camera 1|Camera 2\r\n1|\r\n2|Wide Shot\r\n3|\r\n4|\r\n5|\r\n6|\r\n7|\r\n"));
}

TEST(TallyMapFormatTest, WritingPutsNoByteOrderMarkAndEncodesNamesAsUtf8)
{
    TallyMap map;
    map.setShotSelection(0, records({ QStringLiteral("Cam\u00e9ra") }));
    const QByteArray data = map.dataOfType(type);
    EXPECT_TRUE(data.startsWith("0|Cam\xc3\xa9ra\r\n"));
}

TEST(TallyMapFormatTest, ReadingWhatWasWrittenGivesTheSameNamesInOrderWithEmptyIds)
{
    TallyMap written;
    const QList<QStringList> names {
        { QStringLiteral("Camera 1"), QStringLiteral("Camera 2"), QStringLiteral("Camera 1") },
        {},
        { QStringLiteral(" spaced  name "), QStringLiteral("Cam\u00e9ra"), QStringLiteral("Came\u0301ra") },
        { QStringLiteral("\u30ab\u30e1\u30e9"), QStringLiteral("\U0001F3A5 Studio") },
        {},
        { QStringLiteral("Z"), QStringLiteral("A") },
        { QStringLiteral("tab\there") },
        { QStringLiteral("Last") },
    };
    for (qint64 lightIndex = 0; lightIndex < names.size(); ++lightIndex) {
        ShotList list = records(names[lightIndex]);
        for (const ShotPtr& record : list) {
            record->shotId = QStringLiteral("id of ") + record->name;
            record->isLive = true;
        }
        written.setShotSelection(lightIndex, list);
    }

    TallyMap reread;
    const ReadOutcome outcome = read(reread, written.dataOfType(type));
    ASSERT_TRUE(outcome.succeeded) << outcome.error.localizedDescription.toStdString();
    EXPECT_EQ(allNames(reread), names);
    for (const ShotList& light : reread.shotSelections()) {
        for (const ShotPtr& record : light) {
            EXPECT_EQ(record->shotId, QString());
            EXPECT_FALSE(record->isLive);
            EXPECT_FALSE(record->isPreview);
        }
    }
}

TEST(TallyMapFormatTest, ALaterLineForTheSameLightWins)
{
    TallyMap map;
    ASSERT_TRUE(read(map, "3|A|B\r\n3|C\r\n").succeeded);
    EXPECT_EQ(namesOf(map, 3), QStringList { QStringLiteral("C") });
}

TEST(TallyMapFormatTest, EmptyPiecesAroundAndBetweenSeparatorsAreDropped)
{
    TallyMap map;
    ASSERT_TRUE(read(map, "|3||A|").succeeded);
    EXPECT_EQ(namesOf(map, 3), QStringList { QStringLiteral("A") });
}

TEST(TallyMapFormatTest, SignedAndZeroPaddedIndexesNameTheSameLight)
{
    TallyMap plus;
    ASSERT_TRUE(read(plus, "+3|A").succeeded);
    EXPECT_EQ(namesOf(plus, 3), QStringList { QStringLiteral("A") });

    TallyMap padded;
    ASSERT_TRUE(read(padded, "03|A").succeeded);
    EXPECT_EQ(namesOf(padded, 3), QStringList { QStringLiteral("A") });

    TallyMap negativeZero;
    ASSERT_TRUE(read(negativeZero, "-0|A").succeeded);
    EXPECT_EQ(namesOf(negativeZero, 0), QStringList { QStringLiteral("A") });
}

TEST(TallyMapFormatTest, ASpaceBeforeTheIndexMakesItUnreadable)
{
    TallyMap map;
    const ReadOutcome outcome = read(map, " 3|A");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Unable to parse tally index"));
}

TEST(TallyMapFormatTest, ACommentLineFailsWithAnUnreadableIndex)
{
    TallyMap map;
    const ReadOutcome outcome = read(map, "; lights of studio B\r\n0|A\r\n");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Unable to parse tally index"));
}

TEST(TallyMapFormatTest, AnEmptyLineFailsWithIndexMissing)
{
    TallyMap map;
    const ReadOutcome outcome = read(map, "0|A\r\n\r\n1|B\r\n");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Shot index missing from line"));
}

TEST(TallyMapFormatTest, ALineOfSeparatorsOnlyFailsWithIndexMissing)
{
    TallyMap map;
    const ReadOutcome outcome = read(map, "|||\n");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Shot index missing from line"));
}

TEST(TallyMapFormatTest, FailuresAreInTheStatusDomainWithCodeZero)
{
    TallyMap map;
    const ReadOutcome outcome = read(map, "x|A");
    ASSERT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.domain, QStringLiteral("NSOSStatusErrorDomain"));
    EXPECT_EQ(outcome.error.code, 0);
    EXPECT_FALSE(map.readFromData("x|A", type, nullptr));
}

TEST(TallyMapFormatTest, LfOnlyAndCrOnlyLineBreaksReadTheSameAsCrLf)
{
    const QByteArray crLf = "0|Camera 1|Camera 2\r\n2|Wide Shot\r\n7|Last\r\n";
    TallyMap expected;
    ASSERT_TRUE(read(expected, crLf).succeeded);

    for (const QByteArray& data : { QByteArray("0|Camera 1|Camera 2\n2|Wide Shot\n7|Last\n"),
             QByteArray("0|Camera 1|Camera 2\r2|Wide Shot\r7|Last\r"),
             QByteArray("0|Camera 1|Camera 2\r2|Wide Shot\n7|Last"),
             QByteArray("0|Camera 1|Camera 2\r\n2|Wide Shot\r\n7|Last") }) {
        TallyMap map;
        ASSERT_TRUE(read(map, data).succeeded) << data.toStdString();
        EXPECT_EQ(allNames(map), allNames(expected)) << data.toStdString();
    }
}

TEST(TallyMapFormatTest, NextLineLineSeparatorAndParagraphSeparatorEndLinesToo)
{
    const QByteArray crLf = "0|Camera 1|Camera 2\r\n2|Wide Shot\r\n7|Last\r\n";
    TallyMap expected;
    ASSERT_TRUE(read(expected, crLf).succeeded);

    // U+0085, U+2028 and U+2029 in UTF-8.
    for (const QByteArray& lineBreak :
        { QByteArray("\xc2\x85"), QByteArray("\xe2\x80\xa8"), QByteArray("\xe2\x80\xa9") }) {
        QByteArray data = "0|Camera 1|Camera 2" + lineBreak + "2|Wide Shot" + lineBreak + "7|Last" + lineBreak;
        TallyMap map;
        ASSERT_TRUE(read(map, data).succeeded) << data.toHex().toStdString();
        EXPECT_EQ(allNames(map), allNames(expected)) << data.toHex().toStdString();
    }
    // Each is a break of its own: after CR it makes a blank line.
    TallyMap map;
    const ReadOutcome outcome = read(map,
        "0|A\r\xe2\x80\xa8"
        "1|B");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Shot index missing from line"));
}

TEST(TallyMapFormatTest, ALoneCrFollowedByCrLfIsABlankLine)
{
    TallyMap map;
    const ReadOutcome outcome = read(map, "0|A\r\r\n1|B");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Shot index missing from line"));
}

TEST(TallyMapFormatTest, BytesThatAreNotUtf8FailBeforeAnyLightChanges)
{
    TallyMap map = filledMap();
    const QList<QStringList> before = allNames(map);
    const ReadOutcome outcome = read(map, "0|A\r\n1|B\xff\r\n");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Unable to decode utf8 data"));
    EXPECT_EQ(outcome.error.domain, QStringLiteral("NSOSStatusErrorDomain"));
    EXPECT_EQ(outcome.error.code, 0);
    EXPECT_EQ(allNames(map), before);
}

TEST(TallyMapFormatTest, MalformedUtf8SequencesAreAllRejected)
{
    const QList<QByteArray> malformed {
        QByteArray("0|\xc0\x80"), // overlong encoding of NUL
        QByteArray("0|\xed\xa0\x80"), // an encoded surrogate
        QByteArray("0|\xf4\x90\x80\x80"), // above U+10FFFF
        QByteArray("0|\x80"), // a lone continuation byte
        QByteArray("0|A\xe2\x82"), // cut off at the end of the file
    };
    for (const QByteArray& data : malformed) {
        TallyMap map;
        const ReadOutcome outcome = read(map, data);
        EXPECT_FALSE(outcome.succeeded) << data.toHex().toStdString();
        EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Unable to decode utf8 data"))
            << data.toHex().toStdString();
    }
}

TEST(TallyMapFormatTest, AnEmptyFileReadsAndLeavesEveryLightAsItWas)
{
    TallyMap map = filledMap();
    const QList<QStringList> before = allNames(map);
    EXPECT_TRUE(read(map, QByteArray()).succeeded);
    EXPECT_EQ(allNames(map), before);
}

TEST(TallyMapFormatTest, AFileHoldingOnlyALineBreakFailsWithIndexMissing)
{
    for (const QByteArray& data : { QByteArray("\r\n"), QByteArray("\n"), QByteArray("\r") }) {
        TallyMap map;
        const ReadOutcome outcome = read(map, data);
        EXPECT_FALSE(outcome.succeeded);
        EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Shot index missing from line"));
    }
}

TEST(TallyMapFormatTest, ASecondLineBreakAtTheEndFailsWithIndexMissing)
{
    TallyMap map;
    const ReadOutcome outcome = read(map, "0|A\r\n\r\n");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Shot index missing from line"));
}

TEST(TallyMapFormatTest, LightsNoLineNamesKeepTheirLists)
{
    TallyMap map = filledMap();
    ASSERT_TRUE(read(map, "5|New\r\n1|\r\n").succeeded);
    EXPECT_EQ(namesOf(map, 5), QStringList { QStringLiteral("New") });
    EXPECT_TRUE(namesOf(map, 1).isEmpty());
    for (qint64 lightIndex : { 0, 2, 3, 4, 6, 7 }) {
        EXPECT_EQ(namesOf(map, lightIndex), QStringList { QStringLiteral("before %1").arg(lightIndex) });
    }
}

TEST(TallyMapFormatTest, AFailedReadKeepsTheLinesBeforeTheFailureAndLooksAtNothingAfter)
{
    TallyMap map = filledMap();
    const ReadOutcome outcome = read(map, "1|First\r\n2|Second\r\nnot an index|X\r\n3|Third\r\n\r\n");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Unable to parse tally index"));
    EXPECT_EQ(namesOf(map, 1), QStringList { QStringLiteral("First") });
    EXPECT_EQ(namesOf(map, 2), QStringList { QStringLiteral("Second") });
    EXPECT_EQ(namesOf(map, 3), QStringList { QStringLiteral("before 3") });
}

TEST(TallyMapFormatTest, AnEmptyNameIsWrittenAsAnEmptyPieceAndLostOnReading)
{
    TallyMap map;
    map.setShotSelection(0, records({ QStringLiteral("A"), QString(), QStringLiteral("B") }));
    const QByteArray data = map.dataOfType(type);
    EXPECT_TRUE(data.startsWith("0|A||B\r\n"));
    TallyMap reread;
    ASSERT_TRUE(read(reread, data).succeeded);
    EXPECT_EQ(namesOf(reread, 0), (QStringList { QStringLiteral("A"), QStringLiteral("B") }));
}

TEST(TallyMapFormatTest, ANameHoldingTheSeparatorComesBackAsSeveralNames)
{
    TallyMap map;
    map.setShotSelection(4, records({ QStringLiteral("Left|Right") }));
    const QByteArray data = map.dataOfType(type);
    EXPECT_TRUE(data.contains("4|Left|Right\r\n"));
    TallyMap reread;
    ASSERT_TRUE(read(reread, data).succeeded);
    EXPECT_EQ(namesOf(reread, 4), (QStringList { QStringLiteral("Left"), QStringLiteral("Right") }));
}

TEST(TallyMapFormatTest, ANameHoldingALineBreakBreaksTheFile)
{
    TallyMap map;
    map.setShotSelection(4, records({ QStringLiteral("Two\nLines") }));
    TallyMap reread;
    const ReadOutcome outcome = read(reread, map.dataOfType(type));
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Unable to parse tally index"));
}

TEST(TallyMapFormatTest, AByteOrderMarkIsSkippedByTheDecoder)
{
    TallyMap map;
    ASSERT_TRUE(read(map,
        "\xef\xbb\xbf"
        "2|A")
                    .succeeded);
    EXPECT_EQ(namesOf(map, 2), QStringList { QStringLiteral("A") });
}

TEST(TallyMapFormatTest, AByteOrderMarkAfterTheStartIsKeptAsPartOfTheNameOrIndex)
{
    TallyMap map;
    ASSERT_TRUE(read(map,
        "0|A\r\n"
        "1|\xef\xbb\xbf\xef\xbb\xbf"
        "B|\xef\xbb\xbf")
                    .succeeded);
    const QString mark(QChar(0xFEFF));
    EXPECT_EQ(namesOf(map, 1), (QStringList { mark + mark + QStringLiteral("B"), mark }));

    TallyMap other;
    const ReadOutcome outcome = read(other,
        "0|A\r\n"
        "\xef\xbb\xbf"
        "1|B");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.error.localizedDescription, QStringLiteral("Unable to parse tally index"));
}

TEST(TallyMapFormatTest, NamesOfTwoThreeAndFourByteCharactersAreWrittenWhole)
{
    // Long names of wide characters, beside a lone surrogate half, which the
    // encoder replaces with U+FFFD: the written bytes are exactly each name
    // in UTF-8.
    const QString twoBytes = QString(300, QChar(0x00E9));
    const QString threeBytes = QString(300, QChar(0x65E5));
    const QString fourBytes = QString::fromUtf8("\xf0\x9f\x8e\xa5").repeated(300);
    const QString loneHalf = QString(QChar(0xD800)) + QStringLiteral("x");
    TallyMap map;
    map.setShotSelection(0, records({ twoBytes, threeBytes }));
    map.setShotSelection(7, records({ fourBytes, loneHalf }));

    const QByteArray expected = "0|" + twoBytes.toUtf8() + "|" + threeBytes.toUtf8()
        + "\r\n1|\r\n2|\r\n3|\r\n4|\r\n5|\r\n6|\r\n7|" + fourBytes.toUtf8() + "|\xef\xbf\xbdx\r\n";
    EXPECT_EQ(map.dataOfType(type), expected);
    TallyMap reread;
    ASSERT_TRUE(read(reread, expected).succeeded);
    EXPECT_EQ(namesOf(reread, 0), (QStringList { twoBytes, threeBytes }));
    EXPECT_EQ(namesOf(reread, 7), (QStringList { fourBytes, QString(QChar(0xFFFD)) + QStringLiteral("x") }));
}

TEST(TallyMapFormatTest, TheIndexIsAnOptionalSignAndAsciiDigitsThatFit64Bits)
{
    using TallyMapFormat::parseIndex;
    EXPECT_EQ(parseIndex(u"0"), 0);
    EXPECT_EQ(parseIndex(u"+7"), 7);
    EXPECT_EQ(parseIndex(u"-1"), -1);
    EXPECT_EQ(parseIndex(u"0007"), 7);
    EXPECT_EQ(parseIndex(u"9223372036854775807"), std::numeric_limits<qint64>::max());
    EXPECT_EQ(parseIndex(u"-9223372036854775808"), std::numeric_limits<qint64>::min());
    EXPECT_EQ(parseIndex(u"9223372036854775808"), std::nullopt);
    EXPECT_EQ(parseIndex(u"-9223372036854775809"), std::nullopt);
    EXPECT_EQ(parseIndex(u"99999999999999999999"), std::nullopt);
    for (const char16_t* unreadable :
        { u"", u"+", u"-", u"+-3", u"--3", u"3 ", u" 3", u"3a", u"0x3", u"3.0", u"\u0663", u"\uff13", u"\u00b3" }) {
        EXPECT_EQ(parseIndex(unreadable), std::nullopt) << QString::fromUtf16(unreadable).toStdString();
    }
}

TEST(TallyMapFormatTest, ThePreCheckFindsTheFirstIndexOutsideTheLightsThatReadingWouldReach)
{
    using TallyMapFormat::firstIndexOutside;
    EXPECT_EQ(firstIndexOutside("0|A\r\n7|B\r\n", 8), std::nullopt);
    EXPECT_EQ(firstIndexOutside("0|A\r\n8|B\r\n-1|C\r\n", 8), 8);
    EXPECT_EQ(firstIndexOutside("-1|C\r\n8|B\r\n", 8), -1);
    EXPECT_EQ(firstIndexOutside("+9223372036854775807", 8), std::numeric_limits<qint64>::max());
    // The reader stops at a failing line, so a bad index after it is never
    // reached, and neither is anything in a file that is not UTF-8.
    EXPECT_EQ(firstIndexOutside("0|A\r\n\r\n8|B\r\n", 8), std::nullopt);
    EXPECT_EQ(firstIndexOutside("x|A\r\n8|B\r\n", 8), std::nullopt);
    EXPECT_EQ(firstIndexOutside("8|B\xff", 8), std::nullopt);
}

TEST(TallyMapFormatTest, AFailedReadTellsTheLineItFailedOnWithoutChangingTheMessage)
{
    for (const auto& [bytes, line, message] : QList<std::tuple<QByteArray, qsizetype, QString>> {
             { "0|A\r\n1|B\r\n; comment\r\n", 3, TallyMapFormat::indexUnreadable },
             { "0|A\n\n2|B\n", 2, TallyMapFormat::indexMissing }, { "|\r\n", 1, TallyMapFormat::indexMissing },
             { "0|A\r1|B\r\n\r\n", 3, TallyMapFormat::indexMissing },
             { "0|\xff\r\n", 0, TallyMapFormat::decodeFailure } }) {
        TallyMap map;
        Error error;
        EXPECT_FALSE(map.readFromData(bytes, type, &error));
        EXPECT_EQ(error.localizedDescription, message);
        EXPECT_EQ(error.line, line) << bytes.toStdString();
    }
}

TEST(TallyMapFormatTest, ASuccessfulWalkReportsNoLine)
{
    qsizetype line = 99;
    QString problem;
    EXPECT_TRUE(TallyMapFormat::readLines(
        "0|A\r\n1|B\r\n", [](qint64, const QStringList&) { return true; }, &problem, &line));
    EXPECT_TRUE(problem.isEmpty());
    EXPECT_EQ(line, 0);
}

TEST(TallyMapFormatTest, ThePreCheckTellsTheLineOfTheIndexOutside)
{
    qsizetype line = 0;
    EXPECT_EQ(TallyMapFormat::firstIndexOutside("0|A\r\n\n", 8, &line), std::nullopt);
    EXPECT_EQ(TallyMapFormat::firstIndexOutside("0|A\r\n1|B\r3|C\n12|D\r\n", 8, &line), 12);
    EXPECT_EQ(line, 4);
}

TEST(TallyMapFormatDeathTest, ALineForLight8Stops)
{
    TallyMap map;
    EXPECT_DEATH(
        map.readFromData("0|A\r\n8|A\r\n", type, nullptr), "fatal error: tally map light index 8 is outside 0 to 7");
}

TEST(TallyMapFormatDeathTest, ALineForLightMinus1Stops)
{
    TallyMap map;
    EXPECT_DEATH(map.readFromData("-1|A", type, nullptr), "fatal error: tally map light index -1 is outside 0 to 7");
}

namespace {

// What a walk saw: every line visited with its names, then whether it ended
// well, its failure and the line it stopped on.
struct Walk {
    QList<std::pair<qint64, QStringList>> lines;
    bool read = false;
    QString problem;
    qsizetype lineNumber = -1;

    bool operator==(const Walk&) const = default;
};

Walk walkNames(const QByteArray& data, qsizetype stopAfter)
{
    Walk walk;
    walk.read = TallyMapFormat::readLines(
        data,
        [&walk, stopAfter](qint64 lightIndex, const QStringList& names) {
            walk.lines.append({ lightIndex, names });
            return walk.lines.size() < stopAfter;
        },
        &walk.problem, &walk.lineNumber);
    return walk;
}

Walk walkRecords(const QByteArray& data, qsizetype stopAfter)
{
    Walk walk;
    walk.read = TallyMapFormat::readRecords(
        data,
        [&walk, stopAfter](qint64 lightIndex, ShotList records) {
            QStringList names;
            for (const ShotPtr& record : records) {
                names.append(record->name);
            }
            walk.lines.append({ lightIndex, names });
            return walk.lines.size() < stopAfter;
        },
        &walk.problem, &walk.lineNumber);
    return walk;
}

} // namespace

// Reading into records is the line walk with records for names: the same
// lines, names, failures and line numbers, whatever the bytes.
TEST(TallyMapFormatTest, ReadingRecordsWalksTheSameLinesAsReadingNames)
{
    const QList<QByteArray> files = {
        "",
        "0|Camera 1|Camera 2\r\n1|\r\n2|Caméra 3|カメラ\r\n",
        "\xEF\xBB\xBF"
        "0|a\n\xEF\xBB\xBF"
        "b|c\n",
        "0|\xEF\xBB\xBFmark\r1||two|||three|\n\n3|x",
        "0|next\xC2\x85"
        "1|line\xE2\x80\xA8"
        "2|para\xE2\x80\xA9"
        "3|\xE2\x80\xA7not a break\xC2\xA0",
        "0|fine\r\n|no index\r\n2|after\r\n",
        "0|fine\nx1|bad index\n",
        "0|fine\n99999999999999999999|too big\n",
        "-1|negative\n+2|plus\n",
        "0|bad \xFF byte\n",
        "0|cut off \xE2\x80",
        QByteArray("0|nul\0inside\n1|b\n", 17),
    };
    for (const QByteArray& file : files) {
        for (const qsizetype stopAfter : { qsizetype(1), qsizetype(2), std::numeric_limits<qsizetype>::max() }) {
            EXPECT_EQ(walkRecords(file, stopAfter), walkNames(file, stopAfter))
                << file.toHex().toStdString() << " stopping after " << stopAfter;
        }
    }
}

// Each name is a record of its own, even where names repeat.
TEST(TallyMapFormatTest, ReadingRecordsGivesEachNameARecordOfItsOwn)
{
    QList<ShotList> lights;
    ASSERT_TRUE(TallyMapFormat::readRecords(
        "0|Same|Same\r\n1|Same\r\n",
        [&lights](qint64, ShotList records) {
            lights.append(records);
            return true;
        },
        nullptr));
    ASSERT_EQ(lights.size(), 2);
    ASSERT_EQ(lights[0].size(), 2);
    ASSERT_EQ(lights[1].size(), 1);
    EXPECT_NE(lights[0][0], lights[0][1]);
    EXPECT_NE(lights[0][0], lights[1][0]);
    EXPECT_EQ(lights[1][0]->name, "Same");
}

// The records of a line are made together, but each stands alone: one kept
// after the map and the rest of its line are gone is whole, and changing it
// changes no other record.
TEST(TallyMapFormatTest, ARecordOutlivesTheMapAndTheRestOfItsLine)
{
    ShotPtr kept;
    ShotPtr neighbour;
    {
        TallyMap map;
        ASSERT_TRUE(map.readFromData("0|Camera 1|Camera 2|Camera 3\r\n1|Wide\r\n", type, nullptr));
        kept = map.shotSelection(0).at(1);
        neighbour = map.shotSelection(0).at(2);
        kept->shotId = QStringLiteral("id-2");
        kept->isLive = true;
        EXPECT_EQ(neighbour->shotId, QString());
        EXPECT_FALSE(neighbour->isLive);
        EXPECT_EQ(map.shotSelection(0).at(0)->name, "Camera 1");
    }
    neighbour.reset();
    EXPECT_EQ(kept->name, "Camera 2");
    EXPECT_EQ(kept->shotId, "id-2");
    EXPECT_TRUE(kept->isLive);
    kept->name = QStringLiteral("Renamed");
    EXPECT_EQ(kept->name, "Renamed");
}
