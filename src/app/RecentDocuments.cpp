#include "app/RecentDocuments.h"

#include <QFileInfo>

namespace {

const QString recentDocumentsKey = QStringLiteral("RecentDocuments");

QString canonicalPath(const QString& path)
{
    // The same file reached by two spellings ("maps/../maps/a.tlx") is one
    // entry; a file that is gone keeps the absolute spelling it had.
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.absoluteFilePath() : canonical;
}

} // namespace

RecentDocuments::RecentDocuments()
    : RecentDocuments(std::make_unique<QSettings>(QStringLiteral("Mixdesk"), QStringLiteral("Mixdesk Tally")))
{
}

RecentDocuments::RecentDocuments(std::unique_ptr<QSettings> settings)
    : m_settings(std::move(settings))
{
}

void RecentDocuments::noteNewRecentDocument(const QString& path)
{
    const QString entry = canonicalPath(path);
    QStringList paths = recentDocuments();
    paths.removeAll(entry);
    paths.prepend(entry);
    store(paths.mid(0, maximumCount));
}

QStringList RecentDocuments::recentDocuments() const
{
    m_settings->sync();
    QStringList paths = m_settings->value(recentDocumentsKey).toStringList();
    paths.removeAll(QString());
    return paths.mid(0, maximumCount);
}

void RecentDocuments::clearRecentDocuments()
{
    store({});
}

void RecentDocuments::store(const QStringList& paths)
{
    if (paths.isEmpty()) {
        m_settings->remove(recentDocumentsKey);
    } else {
        m_settings->setValue(recentDocumentsKey, paths);
    }
    m_settings->sync();
}
