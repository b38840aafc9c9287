#pragma once

// What the development tools and the window benchmark give the main window in place of a
// person (and, with NoDesktop, of a desktop): nothing waits, nothing is launched.

#include "platform/Desktop.h"
#include "platform/WindowPrompts.h"

#include <cstdio>

// Answers every message with its first button and tells it on standard error; declines every
// dialog.
class SilentPrompts : public NobodyToAsk<WindowPrompts> {
public:
    int ShowModal(QDialog*) override { return 0; }
    MessageAnswer Message(const QString& text, MessageIcon, MessageButtons buttons,
                          const QString&) override {
        std::fprintf(stderr, "message: %s\n", text.toUtf8().constData());
        return buttons == MessageButtons::Ok || buttons == MessageButtons::OkCancel
                   ? MessageAnswer::Ok
                   : MessageAnswer::Yes;
    }
};
