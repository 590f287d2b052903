#include "linux/qt/qt_pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace tavlo {

void QtPasteboard::setText(const QString& text)
{
    m_text = text;
    QGuiApplication::clipboard()->setText(text);
}

void QtPasteboard::offerPrimarySelection()
{
    QClipboard* const clipboard = QGuiApplication::clipboard();
    if (clipboard->supportsSelection()) {
        clipboard->setText(m_text, QClipboard::Selection);
    }
}

}  // namespace tavlo
