#pragma once

#include <QRect>

namespace tavlo {

// The one place where frames are turned over: they are given from the bottom-left corner of their parent, and Qt counts
// from the top-left one.
inline QRect frameFromBottomLeft(const QRect& rect, int parentHeight)
{
    return {rect.x(), parentHeight - rect.y() - rect.height(), rect.width(), rect.height()};
}

inline QRectF frameFromBottomLeft(const QRectF& rect, double parentHeight)
{
    return {rect.x(), parentHeight - rect.y() - rect.height(), rect.width(), rect.height()};
}

}  // namespace tavlo
