#pragma once

#include <QSettings>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

// The File ▸ Open Recent list: tally map files that were opened or saved,
// most recent first, at most ten. Kept in a small file of its own so that it
// outlives the process, like the desktop's own recent-documents list, and so
// that a full disk can be noticed: the list is replaced whole or not at all,
// and a failure is reported instead of leaving an empty list behind.
class RecentDocuments {
public:
    static constexpr qsizetype maximumCount = 10;

    // The list in the user's data folder. Earlier versions kept it in the
    // program's settings; that list is taken over until the new file exists.
    RecentDocuments();
    // Tests keep their list in a file of their own, with or without an old
    // settings store to take over from.
    explicit RecentDocuments(QString listFilePath, std::unique_ptr<QSettings> previousSettings = nullptr);

    // Puts the file at the top of the list, moving it up when it is already
    // there, and drops the oldest entry beyond maximumCount. False, with the
    // reason, when the list could not be stored: the file keeps the list it
    // had, and this object keeps the new list for the menu and for the next
    // store.
    bool noteNewRecentDocument(const QString& path, QString* problem = nullptr);

    // Most recent first. Entries whose file has gone since are kept (a disk
    // may come back); the menu shows them disabled.
    QStringList recentDocuments() const;

    // False, with the reason, as noteNewRecentDocument.
    bool clearRecentDocuments(QString* problem = nullptr);

    QString listFilePath() const { return m_listFilePath; }

    // Where the program keeps the list: recent-documents.json in the user's
    // data folder for this program.
    static QString standardListFilePath();

private:
    bool store(const QStringList& paths, QString* problem);
    QStringList readStored() const;

    QString m_listFilePath;
    std::unique_ptr<QSettings> m_previousSettings;
    // A list that could not be written yet; it wins over the file.
    std::optional<QStringList> m_unstored;
};
