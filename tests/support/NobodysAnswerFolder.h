#pragma once

// The folder where the shot query looks for the answer of the user "nobody"
// when no runtime folder is set: /tmp/mixdesk-<nobody's uid>, one for the
// whole machine. The tests that make it (the shipped script's and the
// stand-in's) run side by side, each in a process of its own; each holds
// this lock from before it looks at the folder until it has removed it, or
// one would find another's folder and skip.

#include <QDir>
#include <QLockFile>
#include <QString>

#include <sys/types.h>

class NobodysAnswerFolder {
public:
    static constexpr uid_t nobody = 65534;

    static QString path() { return QStringLiteral("/tmp/mixdesk-%1").arg(nobody); }

    // Waits up to a minute for the test that holds the folder; false when
    // it still does.
    bool take() { return m_lock.tryLock(60000); }
    QString lockPath() const { return m_lock.fileName(); }

private:
    QLockFile m_lock { QDir::temp().filePath(QStringLiteral("mixdesk-tally-nobodys-answer-folder.lock")) };
};
