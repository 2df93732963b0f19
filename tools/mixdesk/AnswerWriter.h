#pragma once

#include "ShowModel.h"

#include <QList>
#include <QObject>
#include <QString>

// Keeps the answer to the shot query in a file, the way the production
// application's scripting answers it: a list of records in AppleScript source
// notation, as `osascript -s s` prints it, e.g.
//   {{shotId:"1", shotName:"Camera 1", isLive:true, isPreview:false}, ...}
// The file is replaced atomically after every change, so a reader never sees
// half an answer, and removed when the writer goes away, so that a stale
// answer never outlives the program.
class AnswerWriter : public QObject {
    Q_OBJECT

public:
    explicit AnswerWriter(QString path, QObject* parent = nullptr);
    ~AnswerWriter() override;

    // The answer for these shots, ending with a newline as osascript ends
    // its output.
    static QString notation(const QList<ShowModel::Shot>& shots);

    const QString& path() const { return m_path; }

    // Replaces the file with the answer for these shots. On failure returns
    // false and describes why in problem; the previous answer stays.
    bool write(const QList<ShowModel::Shot>& shots, QString* problem);
    // Writes the model's answer now and again after each of its changes. A
    // failed write is reported on standard error and the show goes on: the
    // next change tries again. Returns whether the first write succeeded.
    bool follow(const ShowModel& model, QString* problem);
    // Removes the file, if this writer wrote it. Done by the destructor too.
    void withdraw();

private:
    QString m_path;
    bool m_written = false;
};
