#include "hardware/TestViewController.h"

#include "core/FatalError.h"
#include "hardware/LightCommand.h"
#include "hardware/TestSequenceRunner.h"
#include "ui_TestViewController.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QLayout>
#include <QTimer>


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

TestViewController::TestViewController(QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::TestViewController>())
    , m_runner(new TestSequenceRunner())
{
    m_ui->setupUi(this);
    programStackView = m_ui->programStackView;
    previewStackView = m_ui->previewStackView;
    allOffButton = m_ui->allOffButton;
    testButton = m_ui->testButton;
    closeButton = m_ui->closeButton;
    // The chase steps only while an application-modal panel is up, and the
    // update tick holds back meanwhile, so hand and tick bytes never mix.
    setWindowModality(Qt::ApplicationModal);
    connectActions();
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
    connect(closeButton, &QPushButton::clicked, this, &QDialog::close);
}

QTimer* TestViewController::timer() const
{
    return m_runner->timer();
}

qint64 TestViewController::testStep() const
{
    return m_runner->testStep();
}

const QList<QList<quint8>>& TestViewController::testSequence() const
{
    return LightCommand::testSequence();
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

void TestViewController::runTestWithTimer(QTimer* timer)
{
    m_runner->runTestWithTimer(timer);
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
