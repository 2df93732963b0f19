#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

// Where a show starts: the 0-based positions of the shots on program and in
// preview, -1 for an empty bus. A show starts with both empty unless told,
// so that the first light to go on is one somebody put on a bus.
struct ShowStart {
    int program = -1;
    int preview = -1;
};

// The show as the stand-in production application runs it: an ordered list
// of shots, one of them on program (live) and one in preview. Every shot has
// an id that stays with it through renames and moves and is never given to
// another shot, not even after the shot is removed, so a tally that follows
// ids keeps following the right shot.
//
// Positions are 0-based here; the command loop and the window translate
// from what the user sees. A position outside the list is a programming
// error and stops the process.
class ShowModel : public QObject {
    Q_OBJECT

public:
    // One shot as the query answer reports it.
    struct Shot {
        qint64 id = 0;
        QString name;
        bool isLive = false;
        bool isPreview = false;
    };

    // The shots a fresh show starts with when no shot list is given.
    static QStringList defaultShotNames();

    // Ids 1, 2, 3... in the order of the names, with the shots at `start`
    // on program and in preview (a position outside the list stops the
    // process, as for every other position).
    explicit ShowModel(const QStringList& names = defaultShotNames(), ShowStart start = {}, QObject* parent = nullptr);

    int count() const;
    Shot shotAt(int position) const;
    QList<Shot> shots() const;

    // -1 when no shot is on program (or in preview): removing the shot
    // there leaves the bus empty until another shot is put on it.
    int programPosition() const;
    int previewPosition() const;

    void setPreview(int position);
    void setProgram(int position);
    // Program and preview change places, as the Cut button of a switcher
    // does. With preview empty, program goes empty too.
    void cut();
    void rename(int position, const QString& name);
    // Appends a shot with a fresh id and returns its position.
    int add(const QString& name);
    void remove(int position);

Q_SIGNALS:
    // After every change of names, order, program or preview.
    void changed();

private:
    struct Entry {
        qint64 id;
        QString name;
    };

    void checkPosition(int position, const char* operation) const;
    int positionOfId(qint64 id) const;

    QList<Entry> m_entries;
    qint64 m_nextId = 1;
    qint64 m_programId = 0; // 0: nothing on program
    qint64 m_previewId = 0; // 0: nothing in preview
};
