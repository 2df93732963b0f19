#pragma once

#include <QString>

class QWidget;

// Asks whether the tally map's unsaved changes should be saved before they
// would be lost (another map opened, the program quitting). A seam: the
// program asks in a message box, tests answer with a double.
class SaveChangesPrompt {
public:
    enum class Answer { save, discard, cancel };

    virtual ~SaveChangesPrompt() = default;

    virtual Answer ask(QWidget* window, const QString& documentName) = 0;
};
