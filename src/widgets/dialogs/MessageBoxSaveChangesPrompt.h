#pragma once

#include "dialogs/SaveChangesPrompt.h"

// The save prompt as a message box with Save, Don't Save and Cancel.
class MessageBoxSaveChangesPrompt : public SaveChangesPrompt {
public:
    Answer ask(QWidget* window, const QString& documentName) override;
};
