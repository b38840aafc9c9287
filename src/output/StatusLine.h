#pragma once

#include <QString>
#include <array>
#include <functional>

// The parts of the status line, by number.
enum class StatusPart { Message = 0, Objects = 1, Matched = 2, Elapsed = 3, Mode = 4 };

// The status line's five texts, with the saved copy that commands keep while they run. The
// window shows the texts; this keeps them and the rules of their modes.
class StatusLine {
public:
    static constexpr int kParts = 5;

    // A blank and `text`, as every part is written; nothing once the line is closed.
    void Set(StatusPart part, const QString& text);
    // `text` exactly (the walk's folder message brings its own blanks).
    void SetExact(StatusPart part, const QString& text);
    void Clear(StatusPart part) { SetExact(part, {}); }
    QString Text(StatusPart part) const { return texts_[Index(part)]; }

    // Save keeps the five texts; SaveAndClear keeps them, then clears; Restore puts the other
    // four kept texts back (the message reads "Ready!": the kept one is deliberately not
    // restored); Clear leaves "Ready!" alone.
    enum class Mode { Save, SaveAndClear, Restore, Clear };
    void State(Mode mode);

    // The window is closing: from now on nothing is written.
    void Close() { closed_ = true; }
    bool Closed() const { return closed_; }

    // Hears every change of a part (the window puts the text in its label).
    void SetDisplay(std::function<void(StatusPart, const QString&)> display) {
        display_ = std::move(display);
    }

private:
    static size_t Index(StatusPart part) { return static_cast<size_t>(part); }

    std::array<QString, kParts> texts_;
    std::array<QString, kParts> saved_;
    bool closed_ = false;
    std::function<void(StatusPart, const QString&)> display_;
};
