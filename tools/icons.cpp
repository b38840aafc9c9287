// Renders the program's icon into the PNG sizes of the hicolor theme: OUTDIR/SIZE/NAME.png.
#include "app/AppIcon.h"

#include <QDir>
#include <QGuiApplication>
#include <QPixmap>
#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: icons OUTDIR NAME\n");
        return 2;
    }
    QGuiApplication app(argc, argv);
    for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
        const QString folder = QString::fromLocal8Bit(argv[1]) + QStringLiteral("/%1").arg(size);
        const QString file = folder + QLatin1Char('/') + QString::fromLocal8Bit(argv[2]) + ".png";
        if (!QDir().mkpath(folder) || !AppIconPixmap(size).save(file, "PNG")) {
            std::fprintf(stderr, "icons: cannot write %s\n", file.toLocal8Bit().constData());
            return 1;
        }
    }
    return 0;
}
