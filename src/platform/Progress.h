#pragma once

#include <QString>

// The progress window of a long task: a message line, a bar and an optional Cancel that raises
// the task's cancel flag (the task notices and stops). Logic drives it through this interface;
// the window implements it.
class Progress {
public:
    virtual ~Progress() = default;
    // Shows the window with the bar at 0 of `maximum`.
    virtual void Create(int stepSize, int maximum, bool cancelAllowed) = 0;
    virtual void Destroy() = 0;
    virtual void Reset() = 0;
    // "Processing..." when `text` is empty.
    virtual void SetMessage(const QString& text) = 0;
    virtual void Setup(int stepSize, int maximum, int value) = 0;
    // Advances one call: the bar moves to calls x `units`, never past its maximum.
    virtual void Update(int units) = 0;
    // Sets the bar directly (when within its maximum) and lets the window repaint.
    virtual void UpdateDirect(int value) = 0;
};
