#include "tallymap/RecentDocuments.h"

#include "base/Problem.h"
#include "base/SmallFile.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStandardPaths>

namespace {

const QString previousSettingsKey = QStringLiteral("RecentDocuments");

QString canonicalPath(const QString& path)
{
    // The same file reached by two spellings ("maps/../maps/a.tlx") is one
    // entry; a file that is gone keeps the absolute spelling it had.
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.absoluteFilePath() : canonical;
}

QStringList usable(QStringList paths)
{
    paths.removeAll(QString());
    return paths.mid(0, RecentDocuments::maximumCount);
}

// A JSON array of strings: a path may hold any character but NUL, a line
// break included, and JSON carries them all.
QStringList parseList(const QByteArray& bytes)
{
    QStringList paths;
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    for (const QJsonValue& value : document.array()) {
        paths.append(value.toString());
    }
    return usable(paths);
}

QByteArray serialise(const QStringList& paths)
{
    return QJsonDocument(QJsonArray::fromStringList(paths)).toJson(QJsonDocument::Indented);
}

} // namespace

RecentDocuments::RecentDocuments()
    : RecentDocuments(
        standardListFilePath(), std::make_unique<QSettings>(QStringLiteral("Mixdesk"), QStringLiteral("Mixdesk Tally")))
{
}

RecentDocuments::RecentDocuments(QString listFilePath, std::unique_ptr<QSettings> previousSettings)
    : m_listFilePath(std::move(listFilePath))
    , m_previousSettings(std::move(previousSettings))
{
}

QString RecentDocuments::standardListFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/Mixdesk/Mixdesk Tally/recent-documents.json");
}

bool RecentDocuments::noteNewRecentDocument(const QString& path, QString* problem)
{
    const QString entry = canonicalPath(path);
    QStringList paths = recentDocuments();
    paths.removeAll(entry);
    paths.prepend(entry);
    return store(paths.mid(0, maximumCount), problem);
}

QStringList RecentDocuments::recentDocuments() const
{
    return m_unstored ? *m_unstored : readStored();
}

bool RecentDocuments::clearRecentDocuments(QString* problem)
{
    return store({}, problem);
}

QStringList RecentDocuments::readStored() const
{
    if (QFileInfo::exists(m_listFilePath)) {
        // An unreadable or damaged list is an empty one: the menu is a
        // convenience and must never stand in the way of opening a map.
        return parseList(SmallFile::read(m_listFilePath, nullptr).value_or(QByteArray()));
    }
    if (m_previousSettings) {
        m_previousSettings->sync();
        return usable(m_previousSettings->value(previousSettingsKey).toStringList());
    }
    return {};
}

bool RecentDocuments::store(const QStringList& paths, QString* problem)
{
    QString reason;
    const QString folder = QFileInfo(m_listFilePath).absolutePath();
    const bool folderReady = QDir().mkpath(folder);
    if (!folderReady) {
        reason = QStringLiteral("cannot make the folder %1").arg(folder);
    }
    if (!folderReady || !SmallFile::write(m_listFilePath, serialise(paths), &reason)) {
        m_unstored = paths;
        return reportProblem(problem, reason);
    }
    m_unstored.reset();
    return true;
}
