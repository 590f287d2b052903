#include "platform/linux/x11/work_area.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace tavlo {

namespace {

int toInt(std::uint32_t number)
{
    return static_cast<int>(std::min<std::uint32_t>(number, std::numeric_limits<std::int16_t>::max()));
}

QRect rectangleAt(const std::vector<std::uint32_t>& numbers, std::size_t first)
{
    return {toInt(numbers[first]), toInt(numbers[first + 1]), toInt(numbers[first + 2]), toInt(numbers[first + 3])};
}

std::optional<QRect> areaOfMonitor(const QRect& monitor, const WorkAreaHints& hints)
{
    for (std::size_t i = 0; i + 4 <= hints.monitorAreas.size(); i += 4) {
        const QRect area = rectangleAt(hints.monitorAreas, i);
        if (!area.isEmpty() && monitor.contains(area)) {
            return area;
        }
    }
    return std::nullopt;
}

// A panel's numbers are its widths from the desktop's edges (left, right, top, bottom), and then from where to where
// it lies along each of them.
QRect withoutPanel(const QRect& monitor, QRect visible, const std::vector<std::uint32_t>& strut, const QSize& desktop)
{
    const auto value = [&strut](std::size_t index) { return toInt(strut[index]); };
    const auto liesAlong = [&value](std::size_t index, int first, int last) {
        return value(index) <= last && value(index + 1) >= first;
    };
    const int left = value(0);
    const int right = desktop.width() - value(1);
    const int top = value(2);
    const int bottom = desktop.height() - value(3);
    // A width beyond this monitor is that of a panel on another one.
    if (left > monitor.left() && left <= monitor.right() && liesAlong(4, monitor.top(), monitor.bottom())) {
        visible.setLeft(std::max(visible.left(), left));
    }
    if (right > monitor.left() && right <= monitor.right() && liesAlong(6, monitor.top(), monitor.bottom())) {
        visible.setRight(std::min(visible.right(), right - 1));
    }
    if (top > monitor.top() && top <= monitor.bottom() && liesAlong(8, monitor.left(), monitor.right())) {
        visible.setTop(std::max(visible.top(), top));
    }
    if (bottom > monitor.top() && bottom <= monitor.bottom() && liesAlong(10, monitor.left(), monitor.right())) {
        visible.setBottom(std::min(visible.bottom(), bottom - 1));
    }
    return visible;
}

}  // namespace

QRect workArea(const QRect& monitor, const WorkAreaHints& hints)
{
    // A window manager that draws its own panel tells the room monitor by monitor, or, where there is but one, for the
    // whole desktop; with several monitors the desktop's room means nothing for one of them.
    if (const auto area = areaOfMonitor(monitor, hints)) {
        return *area;
    }
    constexpr std::size_t kStrutSize = 12;
    QRect visible = monitor;
    for (const auto& strut : hints.struts) {
        if (strut.size() == kStrutSize) {
            visible = withoutPanel(monitor, visible, strut, hints.desktop);
        }
    }
    const std::size_t first = 4 * std::size_t{hints.currentDesktop};
    if (hints.monitorCount == 1 && first + 4 <= hints.desktopAreas.size()) {
        const QRect area = rectangleAt(hints.desktopAreas, first);
        visible = area.isEmpty() ? visible : visible & area;
    }
    return visible.isEmpty() ? monitor : visible;
}

}  // namespace tavlo
