#pragma once

#include "ui/window_description.h"

#include <QFont>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QStaticText>
#include <QString>

#include <vector>

class QPainter;

namespace tavlo {

enum class Wrapping { SingleLine, BetweenWords };

// A text and the room that it has, in device-independent pixels.
struct TextRequest {
    QString text;
    QSizeF room;
    int pixelSize = 13;
    FontWeight weight = FontWeight::Regular;
    Wrapping wrapping = Wrapping::SingleLine;

    bool operator==(const TextRequest&) const = default;
};

// How a text is set.
struct TextStyle {
    QFont font;
    double lineSpacing = 1.0;  // distance of two lines, as a factor of the font's own distance
    double paragraphGap = 0;   // more room between paragraphs, in pixels

    bool operator==(const TextStyle&) const = default;
};

// The application's font at that size. `stretch` is its width in percents.
QFont windowFont(int pixelSize, FontWeight weight, int stretch = 100);

// A text laid out in lines. A paragraph that begins with a bullet keeps its further lines right of the bullet.
class TextBlock {
public:
    TextBlock(const QString& text, const TextStyle& style, Wrapping wrapping, double width);

    QSizeF size() const { return m_size; }
    // Where each line stands in a block whose lines are all aligned left.
    std::vector<QRectF> lineFrames() const;
    // Draws with the painter's pen, each line aligned within `frame`, all of them from its top.
    void draw(QPainter& painter, const QRectF& frame, TextAlignment alignment) const;

private:
    struct Line {
        QStaticText text;  // keeps its glyphs from one drawing to the next
        QPointF position;  // left end of the base line
        double ascent = 0;
        double width = 0;
    };

    QFont m_font;
    std::vector<Line> m_lines;
    QSizeF m_size;
};

// Fitting and laying out take most of the time that a window needs to open. Windows show the same texts again and
// again, so the latest results are cached, by text and application font. Main thread.

// The style closest to the requested one in which the text fits its room. First the paragraphs move together, then the
// lines, then the text gets smaller, at last its letters narrower. No text gets smaller than 11 pixels, or than its own
// size where that is less. Where nothing fits, the tightest style.
TextStyle fittedStyle(const TextRequest& request);
// The same for several texts that a control shows in turn, all in one style: the one closest to the first request.
TextStyle fittedStyle(const std::vector<TextRequest>& requests);

// Whether that text fits its room in that style.
bool fits(const TextRequest& request, const TextStyle& style);

// A text in the style that fits it to its room, laid out.
struct FittedText {
    TextStyle style;
    TextBlock block;      // one line that does not fit ends in an ellipsis
    bool isWhole = true;  // whether all of the text stands in its room
};
FittedText fittedText(const TextRequest& request);

}  // namespace tavlo
