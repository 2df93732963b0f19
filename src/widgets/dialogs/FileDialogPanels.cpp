#include "dialogs/FileDialogPanels.h"

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

bool isTallyMapName(const QString& path)
{
    return QFileInfo(path).suffix().compare(TallyMapFile::documentType, Qt::CaseInsensitive) == 0;
}

// The filter only decides what is listed: a name typed in full ("notes.txt")
// would still be taken. Only tally maps are opened, and whatever is saved is
// saved as one.
class TallyMapFileDialog : public QFileDialog {
public:
    using QFileDialog::QFileDialog;

    void accept() override
    {
        const QStringList files = selectedFiles();
        const QString chosen = files.value(0);
        if (chosen.isEmpty() || QFileInfo(chosen).isDir() || isTallyMapName(chosen)) {
            QFileDialog::accept(); // a folder is opened in the panel
            return;
        }
        if (acceptMode() == AcceptSave) {
            // "notes.txt" becomes "notes.txt.tlx", asked about again if that
            // file is there.
            selectFile(chosen + QLatin1Char('.') + TallyMapFile::documentType);
            QFileDialog::accept();
        }
        // Any other file is not a tally map: the panel stays up.
    }
};

} // namespace

std::optional<QUrl> FileDialogPanels::runOpenPanel(QWidget* parent)
{
    TallyMapFileDialog dialog(parent, QObject::tr("Open Tally Map"));
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
    TallyMapFileDialog dialog(parent, QObject::tr("Save Tally Map"));
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
