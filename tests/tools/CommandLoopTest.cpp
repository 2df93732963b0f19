#include "CommandLoop.h"

#include "AutoCut.h"
#include "CommandInterpreter.h"
#include "ShowModel.h"

#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <unistd.h>

namespace {

// A command loop over a pipe that the test writes to.
class CommandLoopTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(::pipe(fds), 0);
        loop = std::make_unique<CommandLoop>(interpreter, fds[0]);
        QObject::connect(loop.get(), &CommandLoop::finished, [this] { ++finishedCount; });
    }

    void TearDown() override
    {
        loop.reset();
        ::close(fds[0]);
        if (fds[1] >= 0) {
            ::close(fds[1]);
        }
    }

    void send(const QByteArray& bytes)
    {
        ASSERT_EQ(::write(fds[1], bytes.constData(), static_cast<size_t>(bytes.size())), bytes.size());
    }

    void closeInput()
    {
        ::close(fds[1]);
        fds[1] = -1;
    }

    // Lets the event loop deliver what was sent, until the loop finishes or
    // the condition holds; a hang ends after `limit` milliseconds, and the
    // test's checks then fail.
    void process(const std::function<bool()>& done, int limit = 5000)
    {
        QEventLoop events;
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (finishedCount > 0 || done()) {
                events.quit();
            }
        });
        poll.start(10);
        QTimer::singleShot(limit, &events, &QEventLoop::quit);
        events.exec();
    }

    int fds[2] = { -1, -1 };
    ShowModel model { ShowModel::defaultShotNames(), { .program = 0, .preview = 1 } };
    AutoCut autoCut { model };
    CommandInterpreter interpreter { model, autoCut };
    std::unique_ptr<CommandLoop> loop;
    int finishedCount = 0;
};

} // namespace

TEST_F(CommandLoopTest, RunsEachLineAsItArrives)
{
    send("preview 3\n");
    process([this] { return model.previewPosition() == 2; });
    EXPECT_EQ(model.previewPosition(), 2);
    send("cut\n");
    process([this] { return model.programPosition() == 2; });
    EXPECT_EQ(model.programPosition(), 2);
    EXPECT_EQ(finishedCount, 0);
}

TEST_F(CommandLoopTest, ALineSplitAcrossWritesRunsOnceWhole)
{
    int changes = 0;
    QObject::connect(&model, &ShowModel::changed, [&changes] { ++changes; });
    send("rena");
    // Nothing to wait for: a half line must not run, whenever it is read.
    process([] { return false; }, 200);
    EXPECT_EQ(changes, 0);
    send("me 1 Host\n");
    process([this] { return model.shotAt(0).name == "Host"; });
    EXPECT_EQ(model.shotAt(0).name, "Host");
    EXPECT_EQ(changes, 1);
}

TEST_F(CommandLoopTest, EndOfInputRunsTheLastLineAndFinishes)
{
    send("remove 7\nadd Last");
    closeInput();
    process([] { return false; });
    EXPECT_EQ(finishedCount, 1);
    EXPECT_EQ(model.count(), 7);
    EXPECT_EQ(model.shotAt(6).name, "Last");
}

TEST_F(CommandLoopTest, QuitFinishesAndTheLinesAfterItAreNotRun)
{
    send("preview 4\nquit\npreview 5\n");
    process([] { return false; });
    EXPECT_EQ(finishedCount, 1);
    EXPECT_EQ(model.previewPosition(), 3);
}
