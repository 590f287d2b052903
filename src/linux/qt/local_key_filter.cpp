#include "linux/qt/local_key_filter.h"

#include <QCoreApplication>
#include <QKeyEvent>

namespace tavlo {

namespace {

bool isModifier(int key)
{
    switch (key) {
        case Qt::Key_Shift:
        case Qt::Key_Control:
        case Qt::Key_Meta:
        case Qt::Key_Alt:
        case Qt::Key_AltGr:
        case Qt::Key_CapsLock:
        case Qt::Key_Super_L:
        case Qt::Key_Super_R:
        case Qt::Key_Hyper_L:
        case Qt::Key_Hyper_R:
            return true;
        default:
            return false;
    }
}

// How much later than the monitor the toolkit may get a key. The desktop's clock of 32 bits wraps around after 49 days:
// without a limit, a capture would swallow the keys of half of that time.
constexpr std::uint32_t kLongestDelayMs = 60'000;

// Whether `first` is `second` or lies shortly before it. In milliseconds of a clock that wraps around.
bool isShortlyBefore(std::uint32_t first, std::uint32_t second)
{
    return second - first <= kLongestDelayMs;
}

}  // namespace

LocalKeyFilter::LocalKeyFilter(KeyboardMonitor& monitor, std::function<bool()> isCapturing)
    : m_monitor(monitor), m_isCapturing(std::move(isCapturing))
{
    m_registration = m_monitor.onKeyDown([this](const KeyEvent& event) {
        if (m_isCapturing()) {
            m_lastCaptured = event.time;
        } else if (m_lastCaptured && event.time - *m_lastCaptured > kLongestDelayMs) {
            m_lastCaptured.reset();
        }
    });
    QCoreApplication::instance()->installEventFilter(this);
}

bool LocalKeyFilter::eventFilter(QObject*, QEvent* event)
{
    switch (event->type()) {
        case QEvent::KeyPress:
        case QEvent::ShortcutOverride: {
            const auto& key = *static_cast<QKeyEvent*>(event);
            if (isModifier(key.key())) {
                return false;
            }
            // The monitor must see this key first: a key that starts a capture is not captured. Once a key is enough,
            // although it comes here for each window and widget in turn.
            const auto time = static_cast<std::uint32_t>(key.timestamp());
            if (m_caughtUpTo != time) {
                m_caughtUpTo = time;
                m_monitor.catchUp();
            }
            if (!belongsToCapture(key)) {
                return false;
            }
            m_swallowedScanCode = key.nativeScanCode();
            event->accept();
            return true;
        }
        case QEvent::KeyRelease: {
            const auto& key = *static_cast<QKeyEvent*>(event);
            if (!key.isAutoRepeat() && m_swallowedScanCode == key.nativeScanCode()) {
                m_swallowedScanCode.reset();
            }
            return false;
        }
        default:
            return false;
    }
}

bool LocalKeyFilter::belongsToCapture(const QKeyEvent& event)
{
    if (m_isCapturing()) {
        return true;
    }
    if (event.isAutoRepeat() && m_swallowedScanCode == event.nativeScanCode()) {
        return true;
    }
    const auto time = static_cast<std::uint32_t>(event.timestamp());
    return m_lastCaptured && isShortlyBefore(time, *m_lastCaptured);
}

}  // namespace tavlo
