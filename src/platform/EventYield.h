#pragma once

// Long loops call YieldToEventLoop() where the original program let its message loop run.
// It runs the event loop only when about 15 ms have passed since it last did, so yielding
// after every item costs almost nothing, yet repaints and a Cancel click still get through.
void YieldToEventLoop();

// Runs the event loop now, whatever the time since the last run (a Cancel click, the
// splash wait).
void YieldNow();
