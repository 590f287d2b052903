#pragma once

#include "language_scope.h"
#include "ui/windows/window_controls.h"
#include "ui/windows/window_frame.h"

#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>

#include <gtest/gtest.h>

#include <ostream>
#include <vector>

// How GoogleTest shows a text.
inline void PrintTo(const QString& text, std::ostream* stream)
{
    *stream << '"' << text.toStdString() << '"';
}

namespace tavlo::test {

inline void press(QWidget& receiver, Qt::Key key, const QString& text = QString())
{
    QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(&receiver, &down);
    QKeyEvent up(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QApplication::sendEvent(&receiver, &up);
}

inline QString labelText(const WindowFrame& window, const char* name)
{
    return window.control<FittedLabel>(QString::fromLatin1(name)).text();
}

inline QString accessibleName(QWidget& widget)
{
    return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name);
}

inline QAccessible::Role accessibleRole(QWidget& widget)
{
    return QAccessible::queryAccessibleInterface(&widget)->role();
}

// The windows that the user sees.
inline int visibleWindows()
{
    int count = 0;
    for (const QWidget* window : QApplication::topLevelWidgets()) {
        count += window->isVisible() && dynamic_cast<const WindowFrame*>(window) ? 1 : 0;
    }
    return count;
}

// What a window's description says of each element, texts and accessible names apart.
inline void expectElements(const WindowDescription& layout, const std::vector<WindowElement>& expected)
{
    ASSERT_EQ(layout.elements.size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
        WindowElement element = layout.elements[index];
        element.text.clear();
        element.accessibleName.clear();
        element.labelled.clear();
        EXPECT_EQ(element.name, expected[index].name);
        EXPECT_EQ(element.frame, expected[index].frame) << element.name.toStdString();
        EXPECT_TRUE(element == expected[index]) << "the style of " << element.name.toStdString();
    }
}

inline void destroyWhatWaits()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

}  // namespace tavlo::test
