#include "linux/x11/x11_screens.h"

#include "linux/x11/xcb.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace tavlo {

namespace {

constexpr std::uint32_t kStrutSize = 12;  // the numbers of a panel's property

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

// What a panel leaves of the visible part. Its numbers are: how far it reaches from the left, right, top and bottom
// edge of the desktop, then where along each of these edges it begins and ends.
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
    // A panel that does not end within this monitor belongs to another one.
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
    // A window manager that draws its own panel gives the room for each monitor, or for the whole desktop, which says
    // nothing about one monitor of several.
    if (const auto area = areaOfMonitor(monitor, hints)) {
        return *area;
    }
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

namespace {

// The toolkit scales a screen's size, and leaves its origin where the server has it.
QRect pixelsOf(const QScreen& screen)
{
    const QRect points = screen.geometry();
    const double scale = screen.devicePixelRatio();
    return {points.topLeft(), QSize(qRound(points.width() * scale), qRound(points.height() * scale))};
}

QRect toPoints(const QRect& pixels, const QScreen& screen)
{
    const QPoint origin = screen.geometry().topLeft();
    const double scale = screen.devicePixelRatio();
    const QPoint offset = pixels.topLeft() - origin;
    // Rounded inwards, so that no panel is touched.
    const QPoint topLeft(static_cast<int>(std::ceil(offset.x() / scale)),
                         static_cast<int>(std::ceil(offset.y() / scale)));
    const QPoint end(static_cast<int>(std::floor((offset.x() + pixels.width()) / scale)),
                     static_cast<int>(std::floor((offset.y() + pixels.height()) / scale)));
    return {origin + topLeft, QSize(end.x() - topLeft.x(), end.y() - topLeft.y())};
}

QScreen* screenWithMost(const QRect& pixels)
{
    QScreen* best = nullptr;
    qint64 bestArea = 0;
    for (QScreen* screen : QGuiApplication::screens()) {
        const QRect common = pixelsOf(*screen) & pixels;
        const qint64 area = common.isEmpty() ? 0 : qint64{common.width()} * common.height();
        if (area > bestArea) {
            best = screen;
            bestArea = area;
        }
    }
    return best;
}

}  // namespace

X11Screens::X11Screens(X11Display& display) : m_display(display) {}

std::optional<QRect> X11Screens::mainVisibleFrame()
{
    const QScreen* const screen = mainScreen();
    if (screen == nullptr || screen->geometry().isEmpty()) {
        return std::nullopt;
    }
    if (!m_display.hasConnection()) {
        return screen->availableGeometry();
    }
    const QRect frame = toPoints(visiblePixels(*screen), *screen);
    m_display.flush();
    return frame.isEmpty() ? screen->geometry() : frame;
}

Compositing X11Screens::compositing()
{
    const std::string name = "_NET_WM_CM_S" + std::to_string(m_display.screenNumber());
    const xcb_window_t owner = selectionOwner(m_display.connection(), m_display.atom(name));
    m_display.flush();
    return owner != XCB_WINDOW_NONE ? Compositing::Present : Compositing::Absent;
}

QScreen* X11Screens::mainScreen()
{
    if (QGuiApplication::screens().size() == 1) {
        return QGuiApplication::primaryScreen();
    }
    if (m_display.hasConnection()) {
        const xcb_window_t window = m_display.activeWindow();
        if (const auto geometry = window != XCB_WINDOW_NONE ? geometryOf(window) : std::nullopt) {
            if (QScreen* const screen = screenWithMost(*geometry)) {
                return screen;
            }
        }
        xcb_connection_t* const connection = m_display.connection();
        const auto pointer =
            ownReply(xcb_query_pointer_reply(connection, xcb_query_pointer(connection, m_display.root()), nullptr));
        if (pointer && pointer->same_screen != 0) {
            if (QScreen* const screen = screenWithMost({pointer->root_x, pointer->root_y, 1, 1})) {
                return screen;
            }
        }
    } else if (QScreen* const screen = QGuiApplication::screenAt(QCursor::pos())) {
        return screen;
    }
    return QGuiApplication::primaryScreen();
}

std::optional<QRect> X11Screens::geometryOf(xcb_window_t window)
{
    xcb_connection_t* const connection = m_display.connection();
    const auto sizeRequest = xcb_get_geometry(connection, window);
    const auto placeRequest = xcb_translate_coordinates(connection, window, m_display.root(), 0, 0);
    const auto size = ownReply(xcb_get_geometry_reply(connection, sizeRequest, nullptr));
    const auto place = ownReply(xcb_translate_coordinates_reply(connection, placeRequest, nullptr));
    if (!size || !place) {
        return std::nullopt;
    }
    return QRect(place->dst_x, place->dst_y, size->width, size->height);
}

QRect X11Screens::visiblePixels(const QScreen& screen)
{
    xcb_connection_t* const connection = m_display.connection();
    const xcb_window_t root = m_display.root();
    WorkAreaHints hints;
    hints.monitorCount = static_cast<int>(QGuiApplication::screens().size());
    if (const auto size = geometryOf(root)) {
        hints.desktop = size->size();
    }
    const auto desktops = m_display.numbers(root, m_display.atom("_NET_CURRENT_DESKTOP"));
    hints.currentDesktop = desktops.empty() ? 0 : desktops.front();
    hints.monitorAreas =
        m_display.numbers(root, m_display.atom("_GTK_WORKAREAS_D" + std::to_string(hints.currentDesktop)));
    hints.desktopAreas = m_display.numbers(root, m_display.atom("_NET_WORKAREA"));
    // All windows are asked at once: a desktop may have a hundred.
    const xcb_atom_t strut = m_display.atom("_NET_WM_STRUT_PARTIAL");
    std::vector<xcb_get_property_cookie_t> questions;
    for (const xcb_window_t window : m_display.numbers(root, m_display.atom("_NET_CLIENT_LIST"))) {
        questions.push_back(xcb_get_property(connection, 0, window, strut, XCB_ATOM_CARDINAL, 0, kStrutSize));
    }
    for (const auto& question : questions) {
        const auto answer = ownReply(xcb_get_property_reply(connection, question, nullptr));
        if (answer && answer->format == 32) {
            const auto* const first = static_cast<const std::uint32_t*>(xcb_get_property_value(answer.get()));
            hints.struts.emplace_back(first, first + answer->value_len);
        }
    }
    return workArea(pixelsOf(screen), hints);
}

}  // namespace tavlo
