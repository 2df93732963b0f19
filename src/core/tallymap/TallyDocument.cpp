#include "tallymap/TallyDocument.h"

#include "base/Error.h"
#include "base/StandardOutput.h"
#include "tallymap/TallyMapFile.h"

#include <algorithm>

namespace {

// Two assignments are the same when they hold the same names in the same
// order: that is what a saved file would hold.
bool sameNames(const ShotList& a, const ShotList& b)
{
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(), [](const ShotPtr& x, const ShotPtr& y) { return x->name == y->name; });
}

} // namespace

TallyDocument::TallyDocument(std::unique_ptr<RecentDocuments> recentDocuments, QObject* parent)
    : QObject(parent)
    , m_recentDocuments(recentDocuments ? std::move(recentDocuments) : std::make_unique<RecentDocuments>())
{
}

TallyDocument::~TallyDocument() = default;

bool TallyDocument::load(const QUrl& url, const ShotList& knownShots)
{
    Error error;
    std::optional<TallyMap> loaded = TallyMapFile::open(url.toLocalFile(), TallyMapFile::documentType, &error);
    if (!loaded) {
        printLine(QStringLiteral("Read of document failed: ") + error.localizedDescription);
        Q_EMIT documentFailed(tr("open"), url.toLocalFile(), error.localizedDescription);
        return false;
    }
    Q_EMIT documentSucceeded();
    m_tallyMap = std::move(*loaded);
    setEdited(false);
    if (!knownShots.isEmpty()) {
        m_tallyMap.resolveShotIds(knownShots);
    }
    Q_EMIT assignmentsChanged();
    adoptFile(url);
    return true;
}

bool TallyDocument::save(const QUrl& url)
{
    Error error;
    if (!TallyMapFile::write(m_tallyMap, url.toLocalFile(), TallyMapFile::documentType, &error)) {
        printLine(QStringLiteral("Save of document failed: ") + error.localizedDescription);
        Q_EMIT documentFailed(tr("save"), url.toLocalFile(), error.localizedDescription);
        return false;
    }
    Q_EMIT documentSucceeded();
    setEdited(false);
    if (url != m_currentDocumentUrl) {
        adoptFile(url);
    }
    return true;
}

void TallyDocument::startNew()
{
    m_tallyMap = TallyMap();
    setEdited(false);
    Q_EMIT assignmentsChanged();
    // Not an Open Recent entry: there is no file to go back to.
    m_currentDocumentUrl = QUrl(QStringLiteral("file://"));
    Q_EMIT fileChanged(m_currentDocumentUrl);
}

void TallyDocument::adoptFile(const QUrl& url)
{
    m_currentDocumentUrl = url;
    Q_EMIT fileChanged(url);
    // The map itself is opened or saved even when the list cannot be
    // stored; that is reported on its own.
    QString problem;
    if (!m_recentDocuments->noteNewRecentDocument(url.toLocalFile(), &problem)) {
        Q_EMIT recentDocumentsFailed(m_recentDocuments->listFilePath(), problem);
    }
}

void TallyDocument::assign(qsizetype lightIndex, const ShotList& shots)
{
    if (m_tracksChanges && !sameNames(m_tallyMap.shotSelection(lightIndex), shots)) {
        setEdited(true);
    }
    m_tallyMap.setShotSelection(lightIndex, shots);
    Q_EMIT assignmentsChanged();
}

void TallyDocument::noteShotsRenamed()
{
    if (m_tracksChanges && !m_edited) {
        setEdited(true);
    }
}

void TallyDocument::clearRecentDocuments()
{
    QString problem;
    if (!m_recentDocuments->clearRecentDocuments(&problem)) {
        Q_EMIT recentDocumentsFailed(m_recentDocuments->listFilePath(), problem);
    }
}

void TallyDocument::setTracksChanges(bool tracks)
{
    m_tracksChanges = tracks;
    if (!tracks && m_edited) {
        setEdited(false);
    }
}

void TallyDocument::setEdited(bool edited)
{
    m_edited = edited;
    Q_EMIT editedChanged(edited);
}
