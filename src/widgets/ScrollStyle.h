#pragma once

class QProgressBar;

// Blocks (0) or a smooth bar (1), as PBScrollStyle says: the progress window's bar and the
// preferences' sample.
void ApplyScrollStyle(QProgressBar* bar, int style);
