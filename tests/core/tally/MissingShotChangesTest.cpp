#include "tally/MissingShotChanges.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

using Change = MissingShotChanges::Change;

TallySnapshot report(QList<LightState> lights)
{
    TallySnapshot snapshot;
    snapshot.sourceRunning = true;
    snapshot.lights = std::move(lights);
    return snapshot;
}

} // namespace

// Found by the failure messages through the change's own namespace.
void PrintTo(const MissingShotChanges::Change& change, std::ostream* out);
void PrintTo(const MissingShotChanges::Change& change, std::ostream* out)
{
    *out << "light " << change.lightNumber << ' ' << change.shot.toStdString()
         << (change.missing ? " missing" : " back");
}

TEST(MissingShotChangesTest, AShotThatGoesMissingIsSaidOnceAndAgainWhenItIsBack)
{
    MissingShotChanges changes;
    const LightState present { TallyMode::off, { QStringLiteral("Wide") }, {} };
    const LightState missing { TallyMode::off, { QStringLiteral("Wide") }, { QStringLiteral("Wide") } };
    EXPECT_TRUE(changes.changesFor(report({ present, present })).isEmpty());
    EXPECT_EQ(
        changes.changesFor(report({ present, missing })), (QList<Change> { { 2, QStringLiteral("Wide"), true } }));
    EXPECT_TRUE(changes.changesFor(report({ present, missing })).isEmpty());
    EXPECT_EQ(
        changes.changesFor(report({ present, present })), (QList<Change> { { 2, QStringLiteral("Wide"), false } }));
}

TEST(MissingShotChangesTest, AMissingShotInTheFirstReportIsSaid)
{
    MissingShotChanges changes;
    const LightState typo { TallyMode::off, { QStringLiteral("Cam 1"), QStringLiteral("Cmaera 2") },
        { QStringLiteral("Cmaera 2") } };
    EXPECT_EQ(changes.changesFor(report({ typo })), (QList<Change> { { 1, QStringLiteral("Cmaera 2"), true } }));
}

TEST(MissingShotChangesTest, AMissingShotTakenOffItsLightIsNotSaidToBeBack)
{
    MissingShotChanges changes;
    changes.changesFor(report({ { TallyMode::off, { QStringLiteral("Gone") }, { QStringLiteral("Gone") } } }));
    EXPECT_TRUE(changes.changesFor(report({ { TallyMode::off, {}, {} } })).isEmpty());
}
