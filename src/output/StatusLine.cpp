#include "output/StatusLine.h"

#include <QCoreApplication>

void StatusLine::Set(StatusPart part, const QString& text) {
    SetExact(part, QLatin1Char(' ') + text);
}

void StatusLine::SetExact(StatusPart part, const QString& text) {
    if (closed_) {
        return;
    }
    texts_[Index(part)] = text;
    if (display_) {
        display_(part, text);
    }
}

void StatusLine::State(Mode mode) {
    if (closed_) {
        return;
    }
    const bool save = mode == Mode::Save || mode == Mode::SaveAndClear;
    const bool restore = mode == Mode::Restore;
    if (save) {
        saved_ = texts_;
        if (mode == Mode::Save) {
            return;
        }
    }
    Set(StatusPart::Message, QCoreApplication::translate("StatusLine", "Ready!"));
    for (int part = 1; part < kParts; ++part) {
        SetExact(static_cast<StatusPart>(part),
                 restore ? saved_[static_cast<size_t>(part)] : QString());
    }
}
