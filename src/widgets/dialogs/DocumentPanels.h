#pragma once

#include <QUrl>

#include <optional>

class QWidget;

// The open and save panels of the document commands, as a seam: the program
// runs file dialogs limited to tally maps, tests answer with a double.
// Both run application-modally, so the update tick waits while one is up.
class DocumentPanels {
public:
    virtual ~DocumentPanels() = default;

    // The chosen file when the user confirms (which may still be absent),
    // nothing when the panel is cancelled.
    virtual std::optional<QUrl> runOpenPanel(QWidget* parent) = 0;
    virtual std::optional<QUrl> runSavePanel(QWidget* parent) = 0;

    // The current map's file, or empty while it has none: the open panel
    // starts in its folder and the save panel proposes it.
    QString currentPath;
};
