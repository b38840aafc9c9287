#include "app/StatusLine.h"

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

void StatusLine::State(const QString& mode) {
    const bool save = mode == QLatin1String("save") || mode == QLatin1String("save&clear");
    const bool clear = mode == QLatin1String("save&clear") || mode == QLatin1String("clear");
    const bool restore = mode == QLatin1String("restore");
    if (closed_ || (!save && !clear && !restore)) {
        return;
    }
    if (save) {
        saved_ = texts_;
        if (!clear) {
            return;
        }
    }
    Set(StatusPart::Message, QCoreApplication::translate("StatusLine", "Ready!"));
    for (int part = 1; part < kParts; ++part) {
        SetExact(static_cast<StatusPart>(part),
                 restore ? saved_[static_cast<size_t>(part)] : QString());
    }
}
