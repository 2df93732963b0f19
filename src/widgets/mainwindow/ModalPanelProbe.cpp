#include "mainwindow/ModalPanelProbe.h"

#include "base/ModalSession.h"

#include <QApplication>
#include <QWidget>

void installModalPanelProbe()
{
    ModalSession::setProbe([] {
        const QWidget* modal = QApplication::activeModalWidget();
        // A window-modal sheet (the shot editor) lets ticks go on; only an
        // application-modal panel holds them back.
        return modal != nullptr && modal->windowModality() == Qt::ApplicationModal;
    });
}
