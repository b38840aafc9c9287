#pragma once

// Long loops call YieldToEventLoop() where the original program let its message loop run.
// It runs the event loop only when about 15 ms have passed since it last did, so yielding
// after every item costs almost nothing, yet repaints and a Cancel click still get through.
void YieldToEventLoop();

// True when the event loop is due to run (about 15 ms since it last did). A caller with work to
// do before the loop runs (pushing status texts into labels) asks first, then calls YieldNow.
bool EventLoopDue();

// Runs the event loop now, whatever the time since the last run (a Cancel click, the
// splash wait).
void YieldNow();
