#pragma once

#include "dialogs/DocumentPanels.h"

#include <functional>

class QFileDialog;

// The document panels as Qt file dialogs offering only "*.tlx" files, shown
// application-modally. They are Qt's own dialogs rather than the desktop's,
// so they look the same everywhere and a test can reach into them.
class FileDialogPanels : public DocumentPanels {
public:
    std::optional<QUrl> runOpenPanel(QWidget* parent) override;
    std::optional<QUrl> runSavePanel(QWidget* parent) override;

    // Called with each dialog once it is set up, just before it runs: lets a
    // test see it and answer it from inside the modal run.
    void setDialogWillRun(std::function<void(QFileDialog&)> dialogWillRun);

private:
    std::optional<QUrl> run(QFileDialog& dialog);

    std::function<void(QFileDialog&)> m_dialogWillRun;
};
