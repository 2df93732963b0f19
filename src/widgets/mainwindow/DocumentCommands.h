#pragma once

#include "model/Shot.h"

#include <QObject>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

class DocumentPanels;
class SaveChangesPrompt;
class TallyDocument;
class QWidget;

// The File menu's commands on the tally map: New, Open, Save and Save As with
// their panels, the window's title and represented file, and the question
// whether to save changes before they would be lost. What a file holds and
// where the map lives is the document's business; this only chooses files
// and keeps the window in step.
class DocumentCommands : public QObject {
    Q_OBJECT

public:
    // The shots known now, which a loaded map is bound to.
    using KnownShots = std::function<const ShotList&()>;

    // view: the main screen, whose window shows the document. The panels
    // and the prompt are the program's own where none are given.
    DocumentCommands(QWidget& view, TallyDocument& document, KnownShots knownShots,
        std::unique_ptr<DocumentPanels> panels, std::unique_ptr<SaveChangesPrompt> prompt, QObject* parent = nullptr);
    ~DocumentCommands() override;

    // File ▸ New: an empty map with no file, once any unsaved changes are
    // saved or given up (asked only while the user wants to be asked).
    void newDocument();
    void openDocument();
    // Back to the file the map came from, or asks for one while there is
    // none.
    void saveDocument();
    void saveDocumentAs();

    void loadTallyMap(const QUrl& url);
    // With no URL, asks for one; a cancelled panel writes nothing.
    void saveTallyMap(const std::optional<QUrl>& url);
    std::optional<QUrl> runOpenPanel();
    std::optional<QUrl> runSavePanel();

    // Asks to save unsaved changes before they would be lost: true when the
    // caller may go on (saved, discarded, or nothing to save), false when
    // the user cancelled or the save did not happen. While the document
    // tracks no changes (the user has not asked to be asked) there is
    // never anything to save, and nothing is asked.
    bool canDiscardChanges();

    // Before any file: the window shows "Untitled.tlx" in the documents
    // folder, while the document keeps no file, so that the first save asks
    // where to put the map.
    void showUntitledWhileNoFile();

private:
    QWidget* window() const;
    void showDocument(const QUrl& url);

    QWidget& m_view;
    TallyDocument& m_document;
    KnownShots m_knownShots;
    std::unique_ptr<DocumentPanels> m_panels;
    std::unique_ptr<SaveChangesPrompt> m_prompt;
};
