// Prints, for each state, the alpha channel of the status item's icon at the width given, in pixels, as one line of
// "<state> <hexadecimal bytes>". An end-to-end test tells by them which icon stands in the panel.

#include "ui/tray/tavlo_icon.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>

#include <array>
#include <cstdio>
#include <utility>

int main(int argc, char** argv)
{
    const QGuiApplication application(argc, argv);
    const int width = argc == 2 ? QByteArray(argv[1]).toInt() : 0;
    if (width <= 0) {
        std::fprintf(stderr, "usage: tavlo_reference_icons WIDTH\n");
        return 2;
    }
    using tavlo::Activity;
    constexpr std::array<std::pair<const char*, Activity>, 4> kStates{{{"mic", Activity::Ready},
                                                                       {"waveform", Activity::Recording},
                                                                       {"hourglass", Activity::Transcribing},
                                                                       {"keyboard", Activity::Capturing}}};
    for (const auto& [state, activity] : kStates) {
        const QIcon icon = tavlo::TavloIcon::menuBar(activity);
        const QImage image = icon.pixmap(QSize(width, width), 1.0).toImage().convertToFormat(QImage::Format_Alpha8);
        QByteArray alpha;
        for (int row = 0; row < image.height(); ++row) {
            alpha.append(reinterpret_cast<const char*>(image.constScanLine(row)), image.width());
        }
        std::printf("%s %s\n", state, alpha.toHex().constData());
    }
    return 0;
}
