#pragma once

#include "model/Shot.h"
#include "tallymap/RecentDocuments.h"
#include "tallymap/TallyMap.h"

#include <QObject>
#include <QUrl>

#include <memory>

// The tally map as a document: the current map, the file it was loaded from
// or last saved to, whether it has changes not yet saved (only while the
// user has asked for that to be tracked), and the Open Recent list. Opening and saving go through here; the window only
// chooses files and shows titles. A failed open or save prints its line, reports itself and leaves everything as it
// was.
class TallyDocument : public QObject {
    Q_OBJECT

public:
    explicit TallyDocument(std::unique_ptr<RecentDocuments> recentDocuments, QObject* parent = nullptr);
    ~TallyDocument() override;

    TallyMap& tallyMap() { return m_tallyMap; }
    const TallyMap& tallyMap() const { return m_tallyMap; }

    // Where the map was loaded from or last saved to; an empty path while
    // there is no file yet.
    const QUrl& currentDocumentUrl() const { return m_currentDocumentUrl; }
    bool hasFile() const { return !m_currentDocumentUrl.path().isEmpty(); }

    // Whether the map has changes not yet saved. Always false while changes
    // are not tracked.
    bool isEdited() const { return m_edited; }

    // Whether a new assignment counts as a change not yet saved. Off, as a
    // new document starts: the map is what it holds, with nothing pending,
    // and whatever was pending is forgotten when tracking stops. Turned on,
    // changes count from then.
    bool tracksChanges() const { return m_tracksChanges; }
    void setTracksChanges(bool tracks);

    // Replaces the map with the one in the file. The loaded assignments take
    // the identifiers of the shots known now, by name, when any are known.
    // On failure prints "Read of document failed:" and the reason, and
    // nothing changes.
    bool load(const QUrl& url, const ShotList& knownShots);
    // Writes the map to the file. On failure prints "Save of document
    // failed:" and the reason, and nothing changes. A save to the file the
    // map came from changes nothing else; to another file it becomes the
    // current one.
    bool save(const QUrl& url);
    // File ▸ New: every light empty, no file, nothing pending. Asking
    // whether to save first is the window's business.
    void startNew();

    // Gives a light its new assignment in one step, so a tick sees either
    // the old list or the new one. While changes are tracked, a list with
    // other names than before is a change not yet saved.
    void assign(qsizetype lightIndex, const ShotList& shots);

    // The switcher renamed shots the map holds and the map followed: the
    // names on file are now out of date, so while changes are tracked this
    // is a change not yet saved (quitting without saving would lose it).
    void noteShotsRenamed();

    RecentDocuments& recentDocuments() const { return *m_recentDocuments; }
    // Open Recent ▸ Clear Menu.
    void clearRecentDocuments();

Q_SIGNALS:
    // The lights' assignments changed: another map was loaded, or a light
    // was given a new list.
    void assignmentsChanged();
    // The map has a new file: opened, or saved under a new name.
    void fileChanged(const QUrl& url);
    void editedChanged(bool edited);
    // An open or save failed (what: "open" or "save"), or one worked.
    void documentFailed(const QString& what, const QString& path, const QString& reason);
    void documentSucceeded();
    // The Open Recent list could not be stored; the map itself is fine.
    void recentDocumentsFailed(const QString& path, const QString& reason);

private:
    void setEdited(bool edited);
    void adoptFile(const QUrl& url);

    TallyMap m_tallyMap;
    QUrl m_currentDocumentUrl { QStringLiteral("file://") };
    bool m_edited = false;
    bool m_tracksChanges = false;
    std::unique_ptr<RecentDocuments> m_recentDocuments;
};
