#include "mainwindow/DocumentCommands.h"

#include "base/FatalError.h"
#include "base/Text.h"
#include "dialogs/DocumentPanels.h"
#include "dialogs/FileDialogPanels.h"
#include "dialogs/MessageBoxSaveChangesPrompt.h"
#include "dialogs/SaveChangesPrompt.h"
#include "tallymap/TallyDocument.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QWidget>

namespace {

const QString untitledDocumentName = QStringLiteral("Untitled.tlx");

} // namespace

DocumentCommands::DocumentCommands(QWidget& view, TallyDocument& document, KnownShots knownShots,
    std::unique_ptr<DocumentPanels> panels, std::unique_ptr<SaveChangesPrompt> prompt, QObject* parent)
    : QObject(parent)
    , m_view(view)
    , m_document(document)
    , m_knownShots(std::move(knownShots))
    , m_panels(panels ? std::move(panels) : std::make_unique<FileDialogPanels>())
    , m_prompt(prompt ? std::move(prompt) : std::make_unique<MessageBoxSaveChangesPrompt>())
{
    connect(&m_document, &TallyDocument::fileChanged, this, &DocumentCommands::showDocument);
    connect(
        &m_document, &TallyDocument::editedChanged, this, [this](bool edited) { window()->setWindowModified(edited); });
}

DocumentCommands::~DocumentCommands() = default;

QWidget* DocumentCommands::window() const
{
    return m_view.window();
}

bool DocumentCommands::canDiscardChanges()
{
    if (!m_document.isEdited()) {
        return true;
    }
    // The title as the window shows it: a file name holding "[*]" is kept
    // in the title doubled, so that Qt does not take it for the marker.
    switch (m_prompt->ask(window(), Text::shownWindowTitle(window()->windowTitle()))) {
    case SaveChangesPrompt::Answer::discard:
        return true;
    case SaveChangesPrompt::Answer::cancel:
        return false;
    case SaveChangesPrompt::Answer::save:
        saveDocument();
        return !m_document.isEdited(); // a cancelled or failed save keeps the changes
    }
    return false;
}

void DocumentCommands::newDocument()
{
    if (!canDiscardChanges()) {
        return;
    }
    m_document.startNew();
}

void DocumentCommands::openDocument()
{
    if (!canDiscardChanges()) {
        return;
    }
    const std::optional<QUrl> url = runOpenPanel();
    if (url && !url->isEmpty()) {
        loadTallyMap(*url);
    }
}

void DocumentCommands::saveDocument()
{
    if (m_document.hasFile()) {
        saveTallyMap(m_document.currentDocumentUrl());
    } else {
        saveTallyMap(std::nullopt);
    }
}

void DocumentCommands::saveDocumentAs()
{
    saveTallyMap(std::nullopt);
}

std::optional<QUrl> DocumentCommands::runOpenPanel()
{
    m_panels->currentPath = m_document.currentDocumentUrl().toLocalFile();
    return m_panels->runOpenPanel(window());
}

std::optional<QUrl> DocumentCommands::runSavePanel()
{
    m_panels->currentPath = m_document.currentDocumentUrl().toLocalFile();
    return m_panels->runSavePanel(window());
}

void DocumentCommands::loadTallyMap(const QUrl& url)
{
    m_document.load(url, m_knownShots());
}

void DocumentCommands::saveTallyMap(const std::optional<QUrl>& requested)
{
    std::optional<QUrl> url = requested;
    if (!url) {
        url = runSavePanel();
        if (!url || url->isEmpty()) {
            return;
        }
    }
    m_document.save(*url);
}

void DocumentCommands::showUntitledWhileNoFile()
{
    if (!QFileInfo(m_document.currentDocumentUrl().path()).fileName().isEmpty()) {
        return;
    }
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (documents.isEmpty()) {
        fatalError(QStringLiteral("no documents folder for the untitled tally map"));
    }
    window()->setWindowFilePath(QDir(documents).filePath(untitledDocumentName));
    window()->setWindowTitle(untitledDocumentName);
}

void DocumentCommands::showDocument(const QUrl& url)
{
    if (QFileInfo(url.path()).fileName().isEmpty()) {
        showUntitledWhileNoFile();
        return;
    }
    // The represented file first: a title set afterwards takes precedence
    // over the one Qt derives from it.
    window()->setWindowFilePath(url.toLocalFile());
    window()->setWindowTitle(Text::literalWindowTitle(QFileInfo(url.path()).fileName()));
}
