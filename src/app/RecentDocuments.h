#pragma once

#include <QSettings>
#include <QStringList>

#include <memory>

// The File ▸ Open Recent list: tally map files that were opened or saved,
// most recent first, at most ten. Kept in the program's settings so that it
// outlives the process, like the desktop's own recent-documents list.
class RecentDocuments {
public:
    static constexpr qsizetype maximumCount = 10;

    // The program's own settings store.
    RecentDocuments();
    // Tests keep their list in a settings object of their own.
    explicit RecentDocuments(std::unique_ptr<QSettings> settings);

    // Puts the file at the top of the list, moving it up when it is already
    // there, and drops the oldest entry beyond maximumCount.
    void noteNewRecentDocument(const QString& path);

    // Most recent first. Entries whose file has gone since are kept (a disk
    // may come back); the menu shows them disabled.
    QStringList recentDocuments() const;

    void clearRecentDocuments();

private:
    void store(const QStringList& paths);

    std::unique_ptr<QSettings> m_settings;
};
