#pragma once

#include "hardware/ChaseProgress.h"
#include "hardware/LightCommandMirror.h"
#include "hardware/TestSequenceRunner.h"

#include <QDialog>
#include <QLabel>
#include <QList>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QWidget>

#include <memory>

class QCheckBox;
class TallyState;

namespace Ui {
class TestViewController;
}

// The light test panel: a row of check boxes for the program lamp of each
// light, a row for the preview lamp, a button that turns every light off and
// one that runs the 21-step chase. A box's title is its light number and the
// only link between the box and its light. Every byte goes through a
// TestSequenceRunner to the send function it is given (the window's tally
// box writer); the panel reads nothing back from the device.
//
// Under the boxes a row of small lamps shows what has been sent: every byte
// the panel hands on, from a box, All Off or the chase, is applied to a
// mirror of the lights. The boxes themselves stay as the user left them (the
// chase clears them and leaves them clear), so the lamps, not the boxes, are
// where the chase can be watched. A line under the lamps counts the chase's
// steps, and Stop, enabled while a chase runs, ends it where it is.
//
// The panel is application-modal: while it is up the update tick waits, and
// only then does the chase step. It closes itself (Close button or the
// window's close box) without any presenter taking it back. The chase
// outlives the panel: closing or deleting it mid-chase leaves the chase
// waiting, and it goes on the next time an application-modal panel is up,
// until its last step; then it goes away by itself.
class TestViewController : public QDialog {
    Q_OBJECT

public:
    explicit TestViewController(TestSequenceRunner::SendFunction send, QWidget* parent = nullptr);
    ~TestViewController() override;

    // Outlets made by the layout: the two rows of check boxes.
    QPointer<QWidget> programStackView;
    QPointer<QWidget> previewStackView;

    QPointer<QPushButton> allOffButton;
    QPointer<QPushButton> testButton;
    QPointer<QPushButton> stopButton;
    QPointer<QPushButton> closeButton;

    // The lamps of what has been sent, in light order, and the chase's
    // progress.
    QPointer<QWidget> lampStackView;
    QPointer<QLabel> chaseProgressLabel;
    QPointer<QProgressBar> chaseProgressBar;
    const QList<QPointer<TallyState>>& sentLamps() const { return m_lamps; }
    const LightCommandMirror& mirror() const { return m_mirror; }
    const ChaseProgress& chaseProgress() const { return m_progress; }

    // The runner behind the panel: the chase itself (its timer, its next
    // step), for whoever watches or drives its steps. The panel adds only
    // the boxes, the lamps and the progress line.
    TestSequenceRunner* runner() const;

public Q_SLOTS:
    // The sender must be a check box titled with a light number in 0 to 255;
    // its state picks the on or the off byte.
    void programOnSender(QObject* sender);
    void previewOnSender(QObject* sender);

    // All program lamps off, all preview lamps off, then every box unchecked.
    void turnOffAllWithSender(QObject* sender);

    // Clears the boxes and restarts the chase at its first step; a chase
    // already running goes on with its own timer, at the same step counter.
    void testAllWithSender(QObject* sender);

    // Stops every running chase timer; the lights stay as they are.
    void stopTestWithSender(QObject* sender);

private:
    void connectActions();
    void followRunner();
    void makeLamps();
    void byteSent(quint8 byte);
    void showLamp(int lightIndex);
    void showChaseProgress();
    static QCheckBox* checkBoxFromSender(QObject* sender);
    // Unchecks every box of both rows, in row order, without sending.
    void clearAllCheckBoxes();
    static void clearCheckBoxesOf(QWidget* row);

    std::unique_ptr<Ui::TestViewController> m_ui;
    TestSequenceRunner* m_runner;
    LightCommandMirror m_mirror;
    ChaseProgress m_progress;
    QList<QPointer<TallyState>> m_lamps;
};
