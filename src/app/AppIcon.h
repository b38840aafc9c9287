#pragma once

#include <QIcon>

// The program's icon: a tally of five over a moor. Drawn at each size rather than scaled, so
// small sizes stay crisp; data/tallymoor.svg is the same drawing for the icon theme.
QIcon AppIcon();
QPixmap AppIconPixmap(int size);
