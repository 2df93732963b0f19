#include "StandinProcess.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

namespace {

constexpr int patienceMilliseconds = 10000;

} // namespace

StandinProcess::StandinProcess()
{
    m_process.setProcessEnvironment(environment());
}

StandinProcess::~StandinProcess()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(patienceMilliseconds);
    }
}

QString StandinProcess::program() const
{
    return QStringLiteral(TALLY_BINARY_DIR "/bin/mixdesk");
}

QString StandinProcess::shotsPath() const
{
    return m_runtime.path() + QStringLiteral("/mixdesk/shots");
}

QProcessEnvironment StandinProcess::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtime.path());
    return environment;
}

bool StandinProcess::start(const QStringList& arguments)
{
    m_process.start(program(), QStringList { QStringLiteral("--headless") } + arguments);
    if (!m_process.waitForStarted(patienceMilliseconds)) {
        return false;
    }
    return eventually([this] { return !answer().isEmpty(); });
}

void StandinProcess::send(const QByteArray& commands)
{
    m_process.write(commands);
    m_process.waitForBytesWritten(patienceMilliseconds);
}

QByteArray StandinProcess::answer() const
{
    QFile file(shotsPath());
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.readAll();
}

QByteArray StandinProcess::waitForAnswer(const QByteArray& expected)
{
    QByteArray last;
    eventually([&] {
        last = answer();
        return last == expected;
    });
    return last;
}

bool StandinProcess::waitForNoAnswer()
{
    return eventually([this] { return !QFile::exists(shotsPath()); });
}

bool StandinProcess::waitForExit()
{
    return m_process.waitForFinished(patienceMilliseconds);
}
