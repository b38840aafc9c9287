#pragma once

#include "platform/Prompts.h"

class QDialog;

// The prompts the windows are handed: those of the rules, and the program's own dialogs shown
// modally, so that tests can script a dialog as they script a question.
class WindowPrompts : public Prompts {
public:
    // Shows a dialog modally and returns its result code.
    virtual int ShowModal(QDialog* dialog) = 0;
};
