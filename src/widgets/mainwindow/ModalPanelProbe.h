#pragma once

// Tells tallycore's ModalSession when an application-modal panel is up, by
// asking QApplication for its active modal widget. Installed once at start-up
// (and by widget tests).
void installModalPanelProbe();
