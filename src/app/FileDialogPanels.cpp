#include "app/FileDialogPanels.h"

#include "tallymap/TallyMapFile.h"

#include <QFileDialog>
#include <QFileInfo>

namespace {

QString tallyMapFilter()
{
    return QObject::tr("Tally maps (*.%1)").arg(TallyMapFile::documentType);
}

void setUp(QFileDialog& dialog)
{
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    // Hidden files stay hidden (the dialog's default filter has no Hidden)
    // and the size grip is shown, as on every document panel.
    dialog.setSizeGripEnabled(true);
    dialog.setNameFilter(tallyMapFilter());
    dialog.setWindowModality(Qt::ApplicationModal);
}

} // namespace

std::optional<QUrl> FileDialogPanels::runOpenPanel(QWidget* parent)
{
    QFileDialog dialog(parent, QObject::tr("Open Tally Map"));
    setUp(dialog);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    // One file at a time: a second map would only replace the first.
    dialog.setFileMode(QFileDialog::ExistingFile);
    // Shows live together: the next map is most likely beside this one.
    if (!currentPath.isEmpty()) {
        dialog.setDirectory(QFileInfo(currentPath).absolutePath());
    }
    return run(dialog);
}

std::optional<QUrl> FileDialogPanels::runSavePanel(QWidget* parent)
{
    QFileDialog dialog(parent, QObject::tr("Save Tally Map"));
    setUp(dialog);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    // A name typed without extension still makes a tally map file.
    dialog.setDefaultSuffix(TallyMapFile::documentType);
    // Save As starts from the current name, in its folder.
    if (!currentPath.isEmpty()) {
        dialog.setDirectory(QFileInfo(currentPath).absolutePath());
        dialog.selectFile(QFileInfo(currentPath).fileName());
    }
    return run(dialog);
}

void FileDialogPanels::setDialogWillRun(std::function<void(QFileDialog&)> dialogWillRun)
{
    m_dialogWillRun = std::move(dialogWillRun);
}

std::optional<QUrl> FileDialogPanels::run(QFileDialog& dialog)
{
    if (m_dialogWillRun) {
        m_dialogWillRun(dialog);
    }
    if (dialog.exec() != QDialog::Accepted) {
        return std::nullopt;
    }
    const QList<QUrl> chosen = dialog.selectedUrls();
    // Confirmed without a file: the caller sees an empty URL and does nothing.
    return chosen.isEmpty() ? QUrl() : chosen.first();
}
