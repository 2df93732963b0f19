#include "CommandInterpreter.h"

#include "AutoCut.h"
#include "ShowModel.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

class CommandInterpreterTest : public testing::Test {
protected:
    // Runs the lines and returns what they printed on standard output.
    std::string run(const QStringList& lines)
    {
        testing::internal::CaptureStdout();
        for (const QString& line : lines) {
            outcome = interpreter.execute(line);
        }
        return testing::internal::GetCapturedStdout();
    }

    // Runs one line and returns what it printed on standard error.
    std::string errorOf(const QString& line)
    {
        testing::internal::CaptureStderr();
        outcome = interpreter.execute(line);
        return testing::internal::GetCapturedStderr();
    }

    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    AutoCut autoCut { model };
    CommandInterpreter interpreter { model, autoCut };
    CommandInterpreter::Outcome outcome = CommandInterpreter::Outcome::Continue;
};

} // namespace

TEST_F(CommandInterpreterTest, PreviewThreeThenCutPutsTheThirdShotOnProgram)
{
    run({ "preview 3", "cut" });
    EXPECT_EQ(model.programPosition(), 2);
    EXPECT_EQ(model.previewPosition(), 0);
    EXPECT_EQ(outcome, CommandInterpreter::Outcome::Continue);
}

TEST_F(CommandInterpreterTest, ProgramPutsTheShotOnProgram)
{
    run({ "program 5" });
    EXPECT_EQ(model.programPosition(), 4);
    EXPECT_EQ(model.previewPosition(), 1);
}

TEST_F(CommandInterpreterTest, RenameTakesTheRestOfTheLineAsTheNameAndKeepsTheId)
{
    run({ "rename 2   Close-up  of the Host " });
    EXPECT_EQ(model.shotAt(1).name, "Close-up  of the Host");
    EXPECT_EQ(model.shotAt(1).id, 2);
}

TEST_F(CommandInterpreterTest, AddAppendsANamedShot)
{
    run({ "add Camera 5" });
    EXPECT_EQ(model.count(), 8);
    EXPECT_EQ(model.shotAt(7).name, "Camera 5");
    EXPECT_EQ(model.shotAt(7).id, 8);
}

TEST_F(CommandInterpreterTest, RemoveTakesTheShotOut)
{
    run({ "remove 1" });
    EXPECT_EQ(model.count(), 6);
    EXPECT_EQ(model.shotAt(0).name, "Camera 2");
}

TEST_F(CommandInterpreterTest, AutocutStartsAndZeroStopsIt)
{
    run({ "autocut 4" });
    EXPECT_EQ(autoCut.intervalSeconds(), 4);
    EXPECT_TRUE(autoCut.isRunning());
    run({ "autocut 0" });
    EXPECT_FALSE(autoCut.isRunning());
}

TEST_F(CommandInterpreterTest, ListPrintsPositionNameIdAndTally)
{
    run({ "remove 7", "remove 6", "remove 5", "rename 4 Host", "preview 1" });
    EXPECT_EQ(run({ "list" }),
        "1. Camera 1 (id 1) [program, preview]\n"
        "2. Camera 2 (id 2)\n"
        "3. Camera 3 (id 3)\n"
        "4. Host (id 4)\n");
}

TEST_F(CommandInterpreterTest, ListOfAnEmptyShowSaysSo)
{
    run({ "remove 1", "remove 1", "remove 1", "remove 1", "remove 1", "remove 1", "remove 1" });
    EXPECT_EQ(run({ "list" }), "no shots\n");
}

TEST_F(CommandInterpreterTest, CommandNamesIgnoreCaseAndSurroundingBlanks)
{
    run({ "  PREVIEW 4", "Cut  " });
    EXPECT_EQ(model.programPosition(), 3);
}

TEST_F(CommandInterpreterTest, QuitEndsTheLoop)
{
    run({ "quit" });
    EXPECT_EQ(outcome, CommandInterpreter::Outcome::Quit);
}

TEST_F(CommandInterpreterTest, AnEmptyLineDoesNothing)
{
    EXPECT_EQ(errorOf("   "), "");
    EXPECT_EQ(outcome, CommandInterpreter::Outcome::Continue);
}

TEST_F(CommandInterpreterTest, AnUnknownCommandPrintsAnErrorWithTheCommandsAndGoesOn)
{
    EXPECT_EQ(errorOf("Jump 3"),
        "mixdesk: unknown command \"Jump\" (the commands are preview, program, cut, rename, add, remove, autocut, "
        "list and quit)\n");
    EXPECT_EQ(outcome, CommandInterpreter::Outcome::Continue);
    run({ "preview 3" });
    EXPECT_EQ(model.previewPosition(), 2);
}

TEST_F(CommandInterpreterTest, APositionOutsideTheListIsRefused)
{
    EXPECT_EQ(errorOf("preview 8"), "mixdesk: preview: \"8\" is not a shot position from 1 to 7\n");
    EXPECT_EQ(errorOf("remove 0"), "mixdesk: remove: \"0\" is not a shot position from 1 to 7\n");
    EXPECT_EQ(errorOf("program x"), "mixdesk: program: \"x\" is not a shot position from 1 to 7\n");
    EXPECT_EQ(errorOf("preview"), "mixdesk: preview: \"\" is not a shot position from 1 to 7\n");
    EXPECT_EQ(model.count(), 7);
    EXPECT_EQ(model.programPosition(), 0);
    EXPECT_EQ(model.previewPosition(), 1);
}

TEST_F(CommandInterpreterTest, APositionInAnEmptyShowIsRefused)
{
    run({ "remove 1", "remove 1", "remove 1", "remove 1", "remove 1", "remove 1", "remove 1" });
    EXPECT_EQ(errorOf("preview 1"), "mixdesk: preview: there are no shots\n");
}

TEST_F(CommandInterpreterTest, ANameIsRequiredByRenameAndAdd)
{
    EXPECT_EQ(
        errorOf("rename 2"), "mixdesk: rename: give the new name after the position, as in \"rename 1 Camera A\"\n");
    EXPECT_EQ(errorOf("add  "), "mixdesk: add: give the name of the new shot, as in \"add Camera 5\"\n");
    EXPECT_EQ(model.shotAt(1).name, "Camera 2");
    EXPECT_EQ(model.count(), 7);
}

TEST_F(CommandInterpreterTest, AnArgumentToCutListOrQuitIsRefused)
{
    EXPECT_EQ(errorOf("cut now"), "mixdesk: cut takes no argument, not \"now\"\n");
    EXPECT_EQ(model.programPosition(), 0);
    EXPECT_EQ(errorOf("quit please"), "mixdesk: quit takes no argument, not \"please\"\n");
    EXPECT_EQ(outcome, CommandInterpreter::Outcome::Continue);
}

TEST_F(CommandInterpreterTest, AutocutOutsideItsRangeIsRefused)
{
    EXPECT_EQ(errorOf("autocut -1"), "mixdesk: autocut: \"-1\" is not a number of seconds from 0 (stop) to 3600\n");
    EXPECT_EQ(errorOf("autocut 3601"), "mixdesk: autocut: \"3601\" is not a number of seconds from 0 (stop) to 3600\n");
    EXPECT_FALSE(autoCut.isRunning());
}

TEST_F(CommandInterpreterTest, APercentSignInANameIsKeptAsTyped)
{
    run({ "rename 1 100%1 %2 Cam" });
    EXPECT_EQ(run({ "list" }).substr(0, 36), "1. 100%1 %2 Cam (id 1) [program]\n2. ");
}
