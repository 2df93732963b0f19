#include "dialogs/TestViewController.h"

#include "base/FatalError.h"
#include "hardware/LightCommand.h"
#include "hardware/TestSequenceRunner.h"
#include "lamps/TallyState.h"
#include "ui_TestViewController.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QLayout>

namespace {

// A chase left running by a panel that has gone stays with the application
// until its last timer has stopped itself, then frees itself: nothing is
// kept for a panel whose chase is over.
void releaseRunner(TestSequenceRunner* runner)
{
    if (!runner->isRunning()) {
        delete runner;
        return;
    }
    runner->setParent(QCoreApplication::instance());
    QObject::connect(runner, &TestSequenceRunner::timerInvalidated, runner, [runner] {
        if (!runner->isRunning()) {
            runner->deleteLater();
        }
    });
}

} // namespace

TestViewController::TestViewController(TestSequenceRunner::SendFunction send, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::TestViewController>())
    , m_runner(new TestSequenceRunner(std::move(send)))
    , m_progress(LightCommand::testSequence().size())
{
    m_ui->setupUi(this);
    programStackView = m_ui->programStackView;
    previewStackView = m_ui->previewStackView;
    allOffButton = m_ui->allOffButton;
    testButton = m_ui->testButton;
    stopButton = m_ui->stopButton;
    closeButton = m_ui->closeButton;
    lampStackView = m_ui->lampStackView;
    chaseProgressLabel = m_ui->chaseProgressLabel;
    chaseProgressBar = m_ui->chaseProgressBar;
    chaseProgressBar->setRange(0, static_cast<int>(m_progress.stepCount()));
    makeLamps();
    // The chase steps only while an application-modal panel is up, and the
    // update tick holds back meanwhile, so hand and tick bytes never mix.
    setWindowModality(Qt::ApplicationModal);
    connectActions();
    followRunner();
    showChaseProgress();
}

TestViewController::~TestViewController()
{
    releaseRunner(m_runner);
}

void TestViewController::connectActions()
{
    // clicked, not toggled: only the user's clicks send, so that clearing the
    // boxes from code stays silent.
    const auto connectRow = [this](QWidget* row, void (TestViewController::*action)(QObject*)) {
        for (QCheckBox* box : row->findChildren<QCheckBox*>(Qt::FindDirectChildrenOnly)) {
            connect(box, &QCheckBox::clicked, this, [this, box, action] { (this->*action)(box); });
        }
    };
    connectRow(programStackView, &TestViewController::programOnSender);
    connectRow(previewStackView, &TestViewController::previewOnSender);
    connect(allOffButton, &QPushButton::clicked, this, [this] { turnOffAllWithSender(allOffButton); });
    connect(testButton, &QPushButton::clicked, this, [this] { testAllWithSender(testButton); });
    connect(stopButton, &QPushButton::clicked, this, [this] { stopTestWithSender(stopButton); });
    connect(closeButton, &QPushButton::clicked, this, &QDialog::close);
}

void TestViewController::followRunner()
{
    connect(m_runner, &TestSequenceRunner::byteSent, this, &TestViewController::byteSent);
    connect(m_runner, &TestSequenceRunner::stepPerformed, this, [this](qint64 step) {
        m_progress.stepPerformed(step);
        showChaseProgress();
    });
    connect(m_runner, &TestSequenceRunner::timerInvalidated, this, [this] {
        m_progress.timerInvalidated(m_runner->isRunning());
        showChaseProgress();
    });
    connect(m_runner, &TestSequenceRunner::chaseStopped, this, [this] {
        m_progress.stopped();
        showChaseProgress();
    });
}

void TestViewController::makeLamps()
{
    const QList<QCheckBox*> boxes = programStackView->findChildren<QCheckBox*>(Qt::FindDirectChildrenOnly);
    for (int lightIndex = 0; lightIndex < LightCommandMirror::numberOfLights; ++lightIndex) {
        auto* lamp = new TallyState(lampStackView);
        lamp->setObjectName(QStringLiteral("sentLamp%1").arg(lightIndex + 1));
        lamp->glanceable = true;
        lamp->lightNumber = lightIndex + 1;
        // As wide as the box above it, so that each lamp sits under its
        // light's boxes.
        const int width = lightIndex < boxes.size() ? boxes.at(lightIndex)->sizeHint().width() : 40;
        lamp->setFixedSize(width, 36);
        lampStackView->layout()->addWidget(lamp);
        m_lamps.append(lamp);
        showLamp(lightIndex);
    }
}

void TestViewController::byteSent(quint8 byte)
{
    if (!m_mirror.apply(byte)) {
        return;
    }
    for (int lightIndex = 0; lightIndex < m_lamps.size(); ++lightIndex) {
        showLamp(lightIndex);
    }
}

void TestViewController::showLamp(int lightIndex)
{
    TallyState* lamp = m_lamps.value(lightIndex);
    if (lamp == nullptr) {
        return;
    }
    const LightCommandMirror::Lamps lamps = m_mirror.lamps(lightIndex);
    lamp->mode = m_mirror.mode(lightIndex);
    // One indicator shows one mode, program winning; the tip tells both.
    lamp->setToolTip(tr("Light %1: program %2, preview %3")
                         .arg(lightIndex + 1)
                         .arg(lamps.program ? tr("on") : tr("off"), lamps.preview ? tr("on") : tr("off")));
    lamp->setNeedsDisplayInRect(lamp->rect());
}

void TestViewController::showChaseProgress()
{
    chaseProgressLabel->setText(m_progress.text());
    chaseProgressBar->setValue(static_cast<int>(m_progress.stepsDone()));
    stopButton->setEnabled(m_runner->isRunning());
}

TestSequenceRunner* TestViewController::runner() const
{
    return m_runner;
}

void TestViewController::programOnSender(QObject* sender)
{
    const QCheckBox* box = checkBoxFromSender(sender);
    m_runner->programBoxToggled(box->text(), box->checkState() != Qt::Unchecked);
}

void TestViewController::previewOnSender(QObject* sender)
{
    const QCheckBox* box = checkBoxFromSender(sender);
    m_runner->previewBoxToggled(box->text(), box->checkState() != Qt::Unchecked);
}

void TestViewController::turnOffAllWithSender(QObject* /*sender*/)
{
    m_runner->turnOffAll();
    clearAllCheckBoxes();
}

void TestViewController::testAllWithSender(QObject* /*sender*/)
{
    // The boxes are cleared before the first step goes out and are left
    // alone while the chase runs.
    clearAllCheckBoxes();
    m_runner->testAll();
}

void TestViewController::stopTestWithSender(QObject* /*sender*/)
{
    m_runner->stop();
    showChaseProgress();
}

QCheckBox* TestViewController::checkBoxFromSender(QObject* sender)
{
    auto* box = qobject_cast<QCheckBox*>(sender);
    if (box == nullptr) {
        fatalError(QStringLiteral("a test panel light action was sent by %1, which is not a check box")
                       .arg(sender == nullptr ? QStringLiteral("nothing")
                                              : QString::fromUtf8(sender->metaObject()->className())));
    }
    return box;
}

void TestViewController::clearAllCheckBoxes()
{
    clearCheckBoxesOf(programStackView);
    clearCheckBoxesOf(previewStackView);
}

void TestViewController::clearCheckBoxesOf(QWidget* row)
{
    if (row == nullptr || row->layout() == nullptr) {
        return;
    }
    QLayout* layout = row->layout();
    for (int index = 0; index < layout->count(); ++index) {
        QWidget* widget = layout->itemAt(index)->widget();
        if (widget == nullptr) {
            continue;
        }
        auto* box = qobject_cast<QCheckBox*>(widget);
        if (box == nullptr) {
            fatalError(QStringLiteral("the test panel's row %1 holds %2, which is not a check box")
                           .arg(row->objectName(), QString::fromUtf8(widget->metaObject()->className())));
        }
        box->setChecked(false);
    }
}
