#include "ui/window_colours.h"

#include <cmath>

namespace tavlo {

namespace {

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& colour)
{
    const QColor rgb = colour.toRgb();
    return 0.2126 * linear(rgb.redF()) + 0.7152 * linear(rgb.greenF()) + 0.0722 * linear(rgb.blueF());
}

int mixed(int from, int to, double share)
{
    return static_cast<int>(std::lround(from + (to - from) * share));
}

QColor mixed(const QColor& from, const QColor& to, double share)
{
    return QColor(mixed(from.red(), to.red(), share), mixed(from.green(), to.green(), share),
                  mixed(from.blue(), to.blue(), share));
}

// `wanted`, mixed with as much of `text` as it takes to be readable on `background`.
QColor readable(const QColor& wanted, const QColor& text, const QColor& background)
{
    constexpr int kSteps = 32;
    for (int step = 0; step < kSteps; ++step) {
        const QColor colour = mixed(wanted, text, static_cast<double>(step) / kSteps);
        if (contrast(colour, background) >= kReadableContrast) {
            return colour;
        }
    }
    return text;
}

}  // namespace

double contrast(const QColor& first, const QColor& second)
{
    const double one = luminance(first);
    const double other = luminance(second);
    return (std::max(one, other) + 0.05) / (std::min(one, other) + 0.05);
}

QColor labelColour(ColourRole role, const QPalette& palette)
{
    const QColor text = palette.color(QPalette::Active, QPalette::WindowText);
    const QColor background = palette.color(QPalette::Active, QPalette::Window);
    const bool dark = luminance(background) < luminance(text);
    switch (role) {
        case ColourRole::SecondaryLabel:
            return readable(mixed(text, background, 0.3), text, background);
        case ColourRole::TertiaryLabel:
            return readable(mixed(text, background, 0.55), text, background);
        case ColourRole::SystemRed:
            return readable(dark ? QColor(255, 105, 97) : QColor(215, 0, 21), text, background);
        case ColourRole::Label:
            break;
    }
    return text;
}

QColor placeholderColour(const QPalette& palette)
{
    const QColor text = palette.color(QPalette::Active, QPalette::Text);
    const QColor background = palette.color(QPalette::Active, QPalette::Base);
    return readable(mixed(text, background, 0.5), text, background);
}

QPalette greyedRowColours(const QPalette& palette)
{
    const QColor grey = labelColour(ColourRole::TertiaryLabel, palette);
    QPalette changes;
    for (const QPalette::ColorRole role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
        changes.setColor(QPalette::Disabled, role, grey);
    }
    return changes;
}

}  // namespace tavlo
