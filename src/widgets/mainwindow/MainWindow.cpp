#include "mainwindow/MainWindow.h"

#include "mainwindow/DocumentCommands.h"
#include "mainwindow/MainMenu.h"
#include "mainwindow/SourceReport.h"
#include "mainwindow/StatusLine.h"

#include <QMenuBar>
#include <QStatusBar>

MainWindow MainWindow::make(ViewController::Dependencies dependencies)
{
    MainWindow made;
    made.window = std::make_unique<CustomWindow>();
    made.controller = new ViewController(std::move(dependencies));
    made.window->setCentralWidget(made.controller);
    ViewController* controller = made.controller;
    made.window->setCloseGuard([controller] { return controller->documentCommands().canDiscardChanges(); });
    made.menu = new MainMenu(*made.window->menuBar(), *made.controller);
    made.statusLine = new StatusLine(made.controller->shotSource().displayName());
    // Kept, not a passing message: menu hints would otherwise wipe it.
    made.window->statusBar()->addWidget(made.statusLine, 1);
    StatusLine* line = made.statusLine;
    QObject::connect(&made.controller->status(), &TallyStatus::changed, line, &StatusLine::showProblems);
    const SourceReport& report = made.controller->sourceReport();
    QObject::connect(&report, &SourceReport::shotSourceFollowed, line, &StatusLine::followSource);
    QObject::connect(&report, &SourceReport::shotSourceStatusChanged, line, &StatusLine::showSourceStatus);
    QObject::connect(&report, &SourceReport::situationChanged, line, &StatusLine::showSituation);
    line->showSituation(report.situation());
    return made;
}
