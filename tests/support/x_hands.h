#pragma once

#include <QByteArray>

#include <xcb/xcb.h>

#include <cstdint>
#include <vector>

namespace tavlo {

// Which device the hands use: the keyboard itself, as a person does, or XTEST, as programs do that type.
enum class Device { Keyboard, Test };

// The user's hands, another program's tricks and the window manager, on a connection of their own. Keys are X key
// codes. Each operation has happened for the server when it returns.
class XHands {
public:
    explicit XHands(const QByteArray& displayName);
    ~XHands();
    XHands(const XHands&) = delete;
    XHands& operator=(const XHands&) = delete;

    void press(std::uint8_t key, Device device = Device::Keyboard);
    void release(std::uint8_t key, Device device = Device::Keyboard);
    void tap(std::uint8_t key, Device device = Device::Keyboard);

    std::vector<std::uint8_t> keysDown();
    void lockGroup(std::uint8_t group);
    void lockModifiers(std::uint8_t modifiers);
    std::uint8_t lockedModifiers();

    bool grabKeyboard();
    void ungrabKeyboard();
    void movePointer(int x, int y);
    // The window that has the input focus itself, whatever the window manager says.
    xcb_window_t focus();

    xcb_window_t root() const { return m_root; }
    xcb_atom_t atom(const QByteArray& name);
    // Not mapped.
    xcb_window_t createWindow(int x, int y, int width, int height);
    void setNumbers(xcb_window_t window, const QByteArray& property, const std::vector<std::uint32_t>& numbers);
    void removeProperty(xcb_window_t window, const QByteArray& property);
    void ownSelection(const QByteArray& name, xcb_window_t window);

private:
    void key(std::uint8_t coreType, std::uint8_t key, Device device);
    void sync();

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = 0;
    std::uint8_t m_keyboard = 0;         // the device number of the keyboard that is not XTEST's
    std::uint8_t m_firstInputEvent = 0;  // of the input extension
};

}  // namespace tavlo
